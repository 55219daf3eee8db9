// The texts of a run. To the sources every narrow text is UTF-8, whatever the code page of the process is: two names
// that differ on the disk differ to them, too. A surrogate that stands alone in a name is three bytes like any other
// unit, so that nothing is lost on the way there and back. What a caller sees is turned into its code page at the edge.
#pragma once

#include <cstddef>

namespace qev::engine::texts {

// Bytes that one UTF-16 unit takes at the most.
constexpr size_t bytesPerUnit = 3;

// Writes `wide`, with its ending zero, as the sources take it. REQUIRES: room for bytesPerUnit bytes of each unit and
// the zero. Answers the length.
size_t narrow(const wchar_t* wide, char* to);

// Writes the UTF-16 of a text of the sources, cut where `room` units, the ending zero among them, are full. Bytes that
// are no UTF-8 stand for themselves. Answers the length. REQUIRES: room > 0.
size_t widen(const char* text, wchar_t* to, size_t room);

// How many units widen() writes, without the zero.
size_t widened(const char* text);

// Writes a text of the sources in the ANSI code page; foreign characters become "#Uxxxx". `used` bytes of `text` are
// taken: as many as `room` has place for. Answers the bytes written.
size_t toAnsi(const char* text, size_t length, char* to, size_t room, size_t& used);

}  // namespace qev::engine::texts
