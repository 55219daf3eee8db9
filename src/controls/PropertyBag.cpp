#include "controls/PropertyBag.h"

#include "platform/AutomationError.h"
#include "values/MGeneral.h"

namespace qev {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

std::wstring textFromUtf8(std::string_view bytes) {
  const int length = static_cast<int>(bytes.size());
  const int needed = MultiByteToWideChar(CP_UTF8, 0, bytes.data(), length, nullptr, 0);
  std::wstring text(static_cast<std::size_t>(needed), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, bytes.data(), length, text.data(), needed);
  return text;
}

}  // namespace

std::int32_t PropertyBag::number(const std::wstring& key, std::int32_t fallback, const Locale& locale) const {
  try {
    std::int32_t number = 0;
    return roundToInt32(locale.toDouble(read(key, fallback)), number) ? number : fallback;
  } catch (const AutomationError&) {
    return fallback;
  }
}

bool PropertyBag::truth(const std::wstring& key, bool fallback, const Locale& locale) const {
  try {
    return locale.toBoolean(read(key, fallback));
  } catch (const AutomationError&) {
    return fallback;
  }
}

std::wstring PropertyBag::text(const std::wstring& key, const Locale& locale) const {
  try {
    return locale.toText(read(key, std::wstring()));
  } catch (const AutomationError&) {
    return {};
  }
}

Value MemoryPropertyBag::read(const std::wstring& key, const Value& fallback) const {
  const auto found = values_.find(key);
  return found == values_.end() ? fallback : found->second;
}

FormProperties FormProperties::parse(std::string_view utf8) {
  if (utf8.starts_with(kByteOrderMark)) utf8.remove_prefix(kByteOrderMark.size());
  const std::wstring text = textFromUtf8(utf8);
  FormProperties properties;
  for (std::size_t start = 0; start < text.size();) {
    std::size_t end = text.find(L'\n', start);
    if (end == std::wstring::npos) end = text.size();
    std::wstring_view line = std::wstring_view(text).substr(start, end - start);
    if (line.ends_with(L'\r')) line.remove_suffix(1);
    if (!line.empty() && line.front() != L'#') properties.add(line);
    start = end + 1;
  }
  return properties;
}

void FormProperties::add(std::wstring_view line) {
  const auto equals = line.find(L'=');
  const auto dot = line.find(L'.');
  const bool wellFormed =
      equals != std::wstring_view::npos && dot != std::wstring_view::npos && dot > 0 && dot + 1 < equals;
  if (!wellFormed) throw AutomationError(kInvalidCall, std::wstring(line));
  MemoryPropertyBag& bag = controls_[std::wstring(line.substr(0, dot))];
  bag.write(std::wstring(line.substr(dot + 1, equals - dot - 1)), std::wstring(line.substr(equals + 1)), Empty{});
}

FormProperties FormProperties::load(HINSTANCE module, const wchar_t* name) {
  const HRSRC resource = FindResourceW(module, name, RT_RCDATA);
  const HGLOBAL loaded = resource ? LoadResource(module, resource) : nullptr;
  const void* bytes = loaded ? LockResource(loaded) : nullptr;
  if (!bytes) throw AutomationError(kInvalidCall, name);
  return parse({static_cast<const char*>(bytes), SizeofResource(module, resource)});
}

}  // namespace qev
