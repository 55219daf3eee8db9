// What a name in an archive may do to the system that it is restored on. Pure text; no call of the system.
#pragma once

#include <cstddef>

namespace qev::engine {

enum class Part {
  kept,     // the system stores it as it is
  changed,  // it has become a name that the system stores as it is
  nothing,  // it says "here": to be left out
  refused   // it leads upwards, or would be taken to
};

// Turns one part of a path, the text between two separators, into a name that Windows stores as it is, and takes for a
// plain name:
// - "" and "." are nothing; "..", and dots and blanks that would be cut down to it, are refused;
// - control characters and < > : " | ? * become "_" (the colon would name a drive or a second stream of a file);
// - a dot or blank at the end, which the system would cut off, becomes "_";
// - a name that means a device, whatever its extension and letter case, gets "_" in front.
// REQUIRES: `part` has no separator, and room for `length` + 1 characters.
Part makeSafe(wchar_t* part, size_t& length);

}  // namespace qev::engine
