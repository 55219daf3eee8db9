// What the container of an entry control does for it.
#pragma once

#include <optional>
#include <string>

#include "controls/ControlFont.h"

namespace qev {

// A container without data binding and without wishes; one that has them overrides what it needs.
class ControlSite {
 public:
  virtual ~ControlSite() = default;

  // The format of the data that the control is bound to, "" for none. Values are shown by it instead of by their type.
  virtual std::wstring dataFormat() const { return {}; }

  // Whether the bound data may change now.
  virtual bool allowsChange(const std::wstring& /*property*/) const { return true; }

  // A property that data can be bound to has changed: "Text" or "Value".
  virtual void propertyChanged(const std::wstring& /*property*/) {}

  // The font of controls that have none of their own; nothing for the font of the window that contains them.
  virtual std::optional<ControlFont> ambientFont() const { return std::nullopt; }
};

}  // namespace qev
