// The names that a caller hands over, as the sources get them.
#pragma once

#include <cstddef>

namespace qev::engine::names {

struct Name {
  Name* next;
  char text[1];
};

struct List {
  Name* first = nullptr;
  Name* last = nullptr;
  size_t count = 0;
};

// Copies the names that are not empty, in their order, to `list`; its memory is the run's. With `recurse`, a pattern
// that selects by name ("C:\Datos\*.mdb") is followed by the same pattern in each subfolder where it matches a file:
// the sources themselves only descend into folders that match. Answers false if there is no memory.
bool collect(int count, char** names, bool recurse, List& list);

}  // namespace qev::engine::names
