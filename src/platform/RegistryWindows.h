// The registry of this system.
#pragma once

#include "platform/Registry.h"

namespace qev {

class RegistryWindows : public Registry {
 public:
  Value read(const std::wstring& keyPath, const std::wstring& name, std::uint32_t root) const override;
  void write(const std::wstring& keyPath, const std::wstring& name, std::uint32_t root, const Value& value) override;
};

}  // namespace qev
