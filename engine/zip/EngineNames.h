// The names that a caller hands over, as the sources get them.
#pragma once

#include <cstddef>

namespace qev::engine::names {

struct Name {
  Name* next;
  char text[1];  // as the sources take it: see EngineTexts.h
};

struct List {
  Name* first = nullptr;
  Name* last = nullptr;
  size_t count = 0;
};

// Copies the names that are not null or empty, in their order, to `list`; its memory is the run's. Parts that end in
// dots or blanks are cut as the system cuts them where there is no file of the very name. With `recurse`, a pattern
// that selects by name ("C:\Datos\*.mdb") is followed by the same pattern in each subfolder where it matches a file:
// the sources themselves only descend into folders that match. `hidden`: into hidden ones, too. Answers false if there
// is no memory.
bool collect(int count, const wchar_t* const* names, bool recurse, bool hidden, List& list);

}  // namespace qev::engine::names
