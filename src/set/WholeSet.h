// Whether a set is all there, from its ends alone: for choosing among sets, where a test of each would take too long.
#pragma once

#include "platform/FileSystem.h"

namespace qev {

// Whether a file is a header line, CR LF and an archive of at least one entry, to the last byte: end record and
// directory stand at its end, and by their offsets and sizes the archive begins where the header ends. The entries
// themselves are not read. Reads the header, the last 64 KiB and the directory, from any position. Throws what the
// reader throws.
[[nodiscard]] bool readsWhole(FileReader& reader);

}  // namespace qev
