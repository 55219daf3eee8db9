#include "record/RunLog.h"

#include <cstdint>
#include <span>

#include "platform/AutomationError.h"

namespace qev {
namespace {

constexpr wchar_t kLogName[] = L"registro.log";
constexpr std::uint32_t kLongestWait = 2000;  // milliseconds, for another process's turn
constexpr std::uint32_t kBetweenMessages = 100;
constexpr std::uint32_t kLongestHold = 1000;  // milliseconds, for a file that somebody holds

}  // namespace

std::wstring RunLog::path() const {
  return platform_.workFolder.path() + L"\\" + kLogName;
}

bool RunLog::begin(const RunRecord& run) noexcept {
  bool wasInterrupted = false;
  rewrite([&](std::string_view old) {
    const SettledLog before = settled(old, run.title, [this](const std::wstring& process) { return fateOf(process); });
    wasInterrupted = before.wasInterrupted;
    return logWith(before.log, logBlock(asRunning(run)));
  });
  return wasInterrupted;
}

void RunLog::end(const RunRecord& run) noexcept {
  rewrite([&](std::string_view old) { return logWith(withoutRunning(old, asRunning(run)), logBlock(run)); });
}

void RunLog::add(const RunRecord& run) noexcept {
  rewrite([&](std::string_view old) { return logWith(old, logBlock(run)); });
}

void RunLog::rewrite(const Change& change) noexcept {
  try {
    write(change);
  } catch (...) {  // the run is what it is; a record less is all that is lost
  }
}

void RunLog::write(const Change& change) {
  const std::wstring log = path();
  const auto lock = turn(log);
  if (!lock) return;
  const std::string bytes = change(oldBytes(log));
  const auto replacement = platform_.files.replaceFile(log);
  replacement->write(std::as_bytes(std::span(bytes)));
  replacement->commit(kLongestHold);
}

RunRecord RunLog::asRunning(RunRecord run) const {
  run.result = RunRecord::Result::Running;
  run.process = platform_.processes.name();
  return run;
}

// Nothing where another process does not give it up in time.
std::unique_ptr<ProcessLock> RunLog::turn(const std::wstring& log) {
  const std::wstring name = lockName(L"registro", platform_.locale.upper(log));
  for (std::uint32_t waited = 0; waited < kLongestWait; waited += kBetweenMessages) {
    if (auto lock = platform_.processes.lock(name, kBetweenMessages)) return lock;
    platform_.eventLoop.yield();
  }
  return nullptr;
}

// A run of this process that is not over would have kept this one from beginning.
ProcessFate RunLog::fateOf(const std::wstring& process) const {
  if (process == platform_.processes.name()) return ProcessFate::HasNoRun;
  return platform_.processes.isGone(process) ? ProcessFate::IsGone : ProcessFate::MayLive;
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
