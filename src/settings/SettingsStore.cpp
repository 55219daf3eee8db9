#include "settings/SettingsStore.h"

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

void SettingsStore::write(const std::wstring& name, const Value& value) {
  registry_.write(keyPath_, name, kLocalMachine, value);
}

}  // namespace qev
