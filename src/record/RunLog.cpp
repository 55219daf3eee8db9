#include "record/RunLog.h"

#include <cstdint>
#include <span>

#include "platform/AutomationError.h"

namespace qev {
namespace {

constexpr wchar_t kLogName[] = L"registro.log";
constexpr std::uint32_t kLongestWait = 2000;  // milliseconds, for another process's turn
constexpr std::uint32_t kLongestHold = 1000;  // milliseconds, for a file that somebody holds

}  // namespace

std::wstring RunLog::path() const {
  return platform_.workFolder.path() + L"\\" + kLogName;
}

void RunLog::add(const RunRecord& record) noexcept {
  try {
    write(record);
  } catch (...) {  // the run has ended as it has; a record less is all that is lost
  }
}

void RunLog::write(const RunRecord& record) {
  const std::string block = logBlock(record);
  const std::wstring log = path();
  const auto lock = platform_.processes.lock(lockName(L"registro", platform_.locale.upper(log)), kLongestWait);
  if (!lock) return;
  const std::string bytes = logWith(oldBytes(log), block);
  const auto replacement = platform_.files.replaceFile(log);
  replacement->write(std::as_bytes(std::span(bytes)));
  replacement->commit(kLongestHold);
}

// No more than the log may have: a file that somebody else has made larger costs no more.
std::string RunLog::oldBytes(const std::wstring& log) const {
  if (!platform_.files.fileExists(log)) return {};
  const auto reader = platform_.files.openForReading(log);
  const std::uint64_t size = reader->size();
  if (size > kMostLogBytes) reader->seek(size - kMostLogBytes);
  std::string bytes(kMostLogBytes, '\0');
  std::size_t filled = 0;
  while (filled < bytes.size()) {
    const std::size_t got = reader->read(std::as_writable_bytes(std::span(bytes)).subspan(filled));
    if (got == 0) break;
    filled += got;
  }
  bytes.resize(filled);
  return bytes;
}

}  // namespace qev
