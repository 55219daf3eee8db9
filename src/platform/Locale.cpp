#include "platform/Locale.h"

#include "platform/AutomationError.h"

namespace qev {

bool Locale::isDate(const std::wstring& text) const {
  try {
    dateFromText(text);
    return true;
  } catch (const AutomationError&) {
    return false;
  }
}

}  // namespace qev
