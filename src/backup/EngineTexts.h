// What the codes of the engines mean, for the user.
#pragma once

#include <cstdint>
#include <string>

namespace qev {

// In Spanish, without a full stop: "no hay memoria suficiente". engine/Vanto5.h has the codes.
[[nodiscard]] std::wstring zipCodeText(std::int32_t code);

// The same of a test of an archive. engine/Vanto6.h has the codes.
[[nodiscard]] std::wstring testCodeText(std::int32_t code);

}  // namespace qev
