// Where a container keeps the saved properties of its controls.
#pragma once

#include <windows.h>

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "platform/Locale.h"
#include "platform/Value.h"

namespace qev {

// The saved properties of one control, by their keys. A property that has its default takes no place: it is written
// with the same default as it is read with.
class PropertyBag {
 public:
  virtual ~PropertyBag() = default;

  // The value saved under `key`, `fallback` when there is none.
  virtual Value read(const std::wstring& key, const Value& fallback) const = 0;

  // Whether anything is saved under `key`.
  bool has(const std::wstring& key) const { return read(key, Empty{}) != Value(Empty{}); }

  // The same as a number rounded to 32 bits, a truth value, a text; `fallback` (or "") for what cannot be converted.
  std::int32_t number(const std::wstring& key, std::int32_t fallback, const Locale& locale) const;
  bool truth(const std::wstring& key, bool fallback, const Locale& locale) const;
  std::wstring text(const std::wstring& key, const Locale& locale) const;

  // Saves `value`, or forgets what was saved when it equals `fallback`.
  void write(const std::wstring& key, const Value& value, const Value& fallback) {
    if (value == fallback) {
      remove(key);
    } else {
      store(key, value);
    }
  }

 protected:
  virtual void store(const std::wstring& key, const Value& value) = 0;
  virtual void remove(const std::wstring& key) = 0;
};

// Saved properties in memory; the letter case of keys matters.
class MemoryPropertyBag : public PropertyBag {
 public:
  Value read(const std::wstring& key, const Value& fallback) const override;

  // All that is saved.
  const std::map<std::wstring, Value>& values() const { return values_; }

 protected:
  void store(const std::wstring& key, const Value& value) override { values_[key] = value; }
  void remove(const std::wstring& key) override { values_.erase(key); }

 private:
  std::map<std::wstring, Value> values_;
};

// The properties of all entry controls of a form, as its resource holds them: UTF-8 text, a line for each property,
//
//   Control.Key=value
//
// where the value is all that follows the first "=", blanks included. Empty lines and lines that begin with "#" say
// nothing. Values are read as texts; the controls convert them.
class FormProperties {
 public:
  // Throws 5 with the line for one that is not in the format above.
  static FormProperties parse(std::string_view utf8);

  // Reads the RCDATA resource `name` of `module`. Throws 5 when there is none. FindResourceW, LoadResource.
  static FormProperties load(HINSTANCE module, const wchar_t* name);

  // The properties of `control`; an empty bag when there are none. Valid as long as this object.
  PropertyBag& of(const std::wstring& control) { return controls_[control]; }

 private:
  void add(std::wstring_view line);

  std::map<std::wstring, MemoryPropertyBag> controls_;
};

}  // namespace qev
