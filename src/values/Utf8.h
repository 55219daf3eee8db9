// Texts as UTF-8 (RFC 3629).
#pragma once

#include <string>
#include <string_view>

namespace qev {

// Half a surrogate pair, as a damaged text or a name on a disk may have, becomes U+FFFD.
[[nodiscard]] std::string utf8(std::wstring_view text);

// The text of these bytes; each byte that is no part of a well-formed character becomes U+FFFD.
[[nodiscard]] std::wstring textFromUtf8(std::string_view bytes);

}  // namespace qev
