#include "set/SetBytes.h"

#include <algorithm>
#include <span>
#include <string_view>

#include "platform/AutomationError.h"

namespace qev {
namespace {

constexpr std::size_t kBufferBytes = 1 << 20;

}  // namespace

SetBytes::SetBytes(Platform& platform) : platform_(platform), buffer_(kBufferBytes) {}

// A missing file reads as an empty one. One that exists but cannot be read must not: it would be replaced by the little
// that is about to be written, and its content be lost.
std::unique_ptr<FileReader> SetBytes::openIfPresent(const std::wstring& path) const {
  try {
    return platform_.files.openForReading(path);
  } catch (const AutomationError& error) {
    if (error.number() != kFileNotFound && error.number() != kPathNotFound) throw;
    return nullptr;
  }
}

SetBytes::FirstLine SetBytes::takeFirstLine(FileReader* reader, std::size_t longest) {
  FirstLine line;
  if (!reader) return line;
  const auto keep = [&](std::string_view bytes) { line.text.append(bytes.substr(0, longest - line.text.size())); };
  bool heldReturn = false;  // the last byte so far is CR, and whether it ends the line is not known yet
  while (true) {
    const std::string_view bytes(reinterpret_cast<const char*>(buffer_.data()), reader->read(buffer_));
    if (heldReturn && bytes.starts_with('\n')) {
      ++line.next;
      break;
    }
    if (heldReturn) keep("\r");
    if (bytes.empty()) break;
    const auto end = bytes.find(SetHeader::kLineEnd);
    const bool ends = end != std::string_view::npos;
    heldReturn = !ends && bytes.back() == '\r';
    keep(bytes.substr(0, ends ? end : bytes.size() - (heldReturn ? 1 : 0)));
    line.next += ends ? end + SetHeader::kLineEnd.size() : bytes.size();
    if (ends) break;
  }
  reader->seek(line.next);
  return line;
}

void SetBytes::copy(FileReader& from, FileReplacement& to, std::uint64_t count,
                    const std::function<void(std::uint64_t)>& copied) {
  for (std::uint64_t sum = 0; sum < count;) {
    const std::span<std::byte> room(buffer_.data(), std::min<std::uint64_t>(buffer_.size(), count - sum));
    const std::size_t got = from.read(room);
    if (got == 0) return;
    to.write(room.first(got));
    sum += got;
    platform_.eventLoop.yield();
    if (copied) copied(sum);
  }
}

std::unique_ptr<FileReplacement> SetBytes::begin(const std::wstring& path, const std::string& beginning) {
  auto replacement = platform_.files.replaceFile(path);
  if (!beginning.empty()) replacement->write(std::as_bytes(std::span(beginning)));
  return replacement;
}

void SetBytes::rewrite(const std::wstring& path, const std::string& beginning, std::unique_ptr<FileReader> content) {
  const auto replacement = begin(path, beginning);
  if (content) copy(*content, *replacement);
  content.reset();
  replacement->commit();
}

}  // namespace qev
