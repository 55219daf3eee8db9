#include "zip/EngineMessages.h"

namespace qev {

std::wstring& engineMessages() {
  static std::wstring text;
  return text;
}

}  // namespace qev
