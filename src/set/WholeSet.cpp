#include "set/WholeSet.h"

#include <cstdint>
#include <span>
#include <string>

#include "set/SetHeader.h"
#include "zip/ZipDirectory.h"

namespace qev {
namespace {

// Whether the file begins with a header that ends at `end`, its line end included.
bool headerEndsAt(FileReader& reader, std::uint64_t end) {
  if (end < SetHeader::kLineEnd.size() || end > SetHeader::kLongestLine) return false;
  std::string line(static_cast<std::size_t>(end), '\0');
  reader.seek(0);
  std::size_t filled = 0;
  while (filled < line.size()) {
    const std::size_t got = reader.read(std::as_writable_bytes(std::span(line)).subspan(filled));
    if (got == 0) return false;
    filled += got;
  }
  return line.starts_with(SetHeader::kBeginning) &&
         line.find(SetHeader::kLineEnd) == line.size() - SetHeader::kLineEnd.size();
}

}  // namespace

bool readsWhole(FileReader& reader) {
  const auto begin = zipArchiveBegin(reader);
  if (!begin || !headerEndsAt(reader, *begin)) return false;
  const auto entries = readZipDirectory(reader);
  return entries && !entries->empty();
}

}  // namespace qev
