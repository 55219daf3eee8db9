#include "settings/SettingsStore.h"

#include "platform/AutomationError.h"

namespace qev {

Value SettingsStore::read(const std::wstring& name) const {
  return registry_.read(keyPath_, name, kLocalMachine);
}

Value SettingsStore::readPlain(const std::wstring& name, const Value& fallback) const {
  return NzValue(read(name), fallback);
}

Value SettingsStore::readStrict(const std::wstring& name, const Value& fallback) const {
  return NonBlankValue(read(name), fallback);
}

bool SettingsStore::safeMode() const {
  try {
    return numericValue(readPlain(L"Verificar", std::int16_t{0})) != 0;
  } catch (const AutomationError&) {
    return false;
  }
}

void SettingsStore::write(const std::wstring& name, const Value& value) {
  registry_.write(keyPath_, name, kLocalMachine, value);
}

}  // namespace qev
