#include "backup/SetComparison.h"

#include <zlib.h>

#include <cstddef>
#include <span>
#include <unordered_map>
#include <utility>

#include "platform/AutomationError.h"
#include "values/Utf8.h"

namespace qev {
namespace {

using Reason = Difference::Reason;

// The entries of an archive by their names, each to be taken once.
class Entries {
 public:
  explicit Entries(const std::vector<ZipDirectoryEntry>& entries) {
    for (const ZipDirectoryEntry& entry : entries) {
      if (!entry.name.ends_with('/')) left_.emplace(entry.name, &entry);
    }
  }

  const ZipDirectoryEntry* take(const std::string& name) {
    const auto found = left_.find(name);
    if (found == left_.end()) return nullptr;
    const ZipDirectoryEntry* entry = found->second;
    left_.erase(found);
    return entry;
  }

  const std::unordered_multimap<std::string, const ZipDirectoryEntry*>& left() const { return left_; }

 private:
  std::unordered_multimap<std::string, const ZipDirectoryEntry*> left_;
};

struct Content {
  std::uint64_t size = 0;
  std::uint32_t crc = 0;
};

// Reads files whole, through one buffer.
class ContentReader {
 public:
  ContentReader(FileSystem& files, const std::function<void(std::uint64_t)>& read) : files_(files), read_(read) {}

  Content contentOf(const std::wstring& path) {
    const auto file = files_.openLive(path);
    Content content;
    read_(total_);
    while (const std::size_t got = file->read(buffer_)) {
      const auto* bytes = reinterpret_cast<const Bytef*>(buffer_.data());
      content.crc = static_cast<std::uint32_t>(crc32_z(content.crc, bytes, got));
      content.size += got;
      read_(total_ += got);
    }
    return content;
  }

 private:
  FileSystem& files_;
  const std::function<void(std::uint64_t)>& read_;
  std::vector<std::byte> buffer_ = std::vector<std::byte>(1 << 20);
  std::uint64_t total_ = 0;
};

const wchar_t* reasonText(Reason reason) {
  switch (reason) {
    case Reason::Hidden: return L" no está en la copia: es un archivo oculto o del sistema";
    case Reason::Changed: return L" ha cambiado durante la copia";
    case Reason::Unreadable: return L" no se ha podido leer";
    case Reason::Gone: return L" está en la copia, pero ya no en los datos";
    default: return L" no está en la copia";
  }
}

Difference missing(const DataFile& file) {
  return {file.isHidden ? Reason::Hidden : Reason::Missing, file.path, file.size, kFileNotFound, {}};
}

Difference changed(const DataFile& file) {
  return {Reason::Changed, file.path, file.size, kPathFileAccess, {}};
}

}  // namespace

std::wstring Difference::text() const {
  std::wstring text = path + reasonText(reason);
  for (std::size_t i = 0; i < users.size(); ++i) text += (i == 0 ? L" (abierto por " : L", ") + users[i];
  return users.empty() ? text : text + L")";
}

std::wstring inOneLine(const Differences& differences, const std::wstring& folder) {
  constexpr std::size_t longest = 30;  // characters of a path
  if (differences.empty()) return {};
  Difference first = differences.front();
  if (first.path.size() > folder.size() && first.path.starts_with(folder)) first.path.erase(0, folder.size());
  if (first.path.size() > longest) first.path = L"…" + first.path.substr(first.path.size() - longest + 1);
  const std::size_t more = differences.size() - 1;
  return more == 0 ? first.text() : first.text() + L" (y " + std::to_wstring(more) + L" más)";
}

SetComparison::SetComparison(Platform& platform, const std::vector<ZipDirectoryEntry>& entries)
    : platform_(platform), entries_(entries) {}

Differences SetComparison::byDirectory(const DataFiles& data) const {
  return compare(data, [](const DataFile& file, const ZipDirectoryEntry* entry) -> std::optional<Difference> {
    if (!entry) return missing(file);
    return entry->size == file.size ? std::nullopt : std::optional(changed(file));
  });
}

// A file that is gone is none that is missing in the archive; where the archive has it, its entry is left over.
Differences SetComparison::byContent(const DataFiles& data, const std::function<void(std::uint64_t)>& read) const {
  ContentReader reader(platform_.files, read);
  return compare(data, [&](const DataFile& file, const ZipDirectoryEntry* entry) -> std::optional<Difference> {
    try {
      const Content content = reader.contentOf(file.path);
      if (!entry) return missing(file);
      if (content.size == entry->size && content.crc == entry->crc) return std::nullopt;
      return changed(file);
    } catch (const AutomationError& error) {
      const bool isGone = error.number() == kFileNotFound;
      if (isGone && !entry) return std::nullopt;
      return Difference{isGone ? Reason::Gone : Reason::Unreadable, file.path, file.size, error.number(), {}};
    }
  });
}

Differences SetComparison::compare(const DataFiles& data, const Judge& judge) const {
  Differences differences;
  for (const WalkGap& gap : data.gaps) {
    if (gap.reason == WalkGap::Reason::Unreadable) {
      differences.push_back({Reason::Unreadable, gap.folder, 0, gap.number, {}});
    }
  }
  Entries entries(entries_);
  for (const DataFile& file : data.files) {
    if (auto difference = judge(file, entries.take(file.name))) differences.push_back(*std::move(difference));
  }
  for (const auto& [name, entry] : entries.left()) {
    if (name != data.targetName) {
      differences.push_back({Reason::Gone, textFromUtf8(name), entry->size, kPathFileAccess, {}});
    }
  }
  tellUsers(differences);
  return differences;
}

// To ask takes its time: those of the one that is shown will do.
void SetComparison::tellUsers(Differences& differences) const {
  if (differences.empty()) return;
  Difference& first = differences.front();
  if (first.reason == Reason::Changed || first.reason == Reason::Unreadable) {
    first.users = platform_.processes.usersOf(first.path);
  }
}

}  // namespace qev
