// The archive engines as the library sees them: what one run is asked to do, what it tells while it works, and what it
// asks. Plain values and two abstract classes, so that everything above can run against any engine; the real ones, with
// their records and code pages, are in zip/DllEngines.cpp.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace qev {

// Most names that one run of the zip engine takes.
inline constexpr std::size_t kMostNames = 100;

// What a run of the zip engine is to do. The texts are as the caller wrote them.
struct ZipRequest {
  std::wstring archive;             // path of the archive to create or update
  std::wstring root;                // folder that relative names start from; "\" is the root of the present drive
  std::vector<std::wstring> names;  // paths and wildcard patterns, kMostNames at the most
  std::int32_t recurse = 0;         // 0, or 2: into subfolders
  std::int32_t update = 0;          // 0, or 1: change an archive that exists
  std::int32_t system = 0;          // 0, or 1: hidden and system files too
};

enum class UnzipMode { Extract, List, Test };

// What a run of the unzip engine is to do. The numbers are handed over as they stand.
struct UnzipRequest {
  UnzipMode mode = UnzipMode::Extract;
  std::wstring archive;           // path
  std::wstring folder;            // to extract to; empty is the current folder
  std::int32_t messageLevel = 0;  // 0 a message for each entry, 1 none for those restored, 2 errors only
  std::int32_t toMessages = 0;    // 1: extract to the messages in place of files
  std::int32_t keepFolders = 0;   // 1: re-create the folders stored in the archive
  std::int32_t verbose = 0;       // 1
  std::int32_t ignoreCase = 0;    // 1
  std::int32_t privilege = 0;
};

// What an engine tells. A run tells of its entries one after another: begun, bytes done, ended. An entry that was not
// done (a file that cannot be read, a damaged entry) need not end, and one that takes no time need not begin.
struct EntryBegun {
  std::wstring name;  // as the engine shows it: in the ANSI code page, "/" between folders
  bool operator==(const EntryBegun&) const = default;
};
struct BytesDone {
  std::uint64_t bytes = 0;  // of the entry that has begun: unpacked, a multiple of 1 MiB
  bool operator==(const BytesDone&) const = default;
};
struct EntryEnded {
  std::wstring name;
  std::optional<std::uint64_t> bytes;  // unpacked, where the engine says it: the unzip engine does
  bool operator==(const EntryEnded&) const = default;
};
struct Remark {
  std::wstring line;  // something out of the ordinary, without blanks around it
  bool operator==(const Remark&) const = default;
};
using EngineEvent = std::variant<EntryBegun, BytesDone, EntryEnded, Remark>;

// An entry of a listing.
struct EngineEntry {
  std::wstring name;
  std::uint32_t size = 0;  // bytes, unpacked
  unsigned month = 0;
  unsigned day = 0;
  unsigned year = 0;  // of which the last two digits count
  unsigned hour = 0;
  unsigned minute = 0;
};

// Who has a run made. Called on the thread of the run; an exception waits until the engine has returned, and leaves
// run() then.
class EngineClient {
 public:
  virtual ~EngineClient() = default;

  // A message as the engine printed it, whole or in part. The events that it gives follow.
  virtual void text(const std::wstring& text) = 0;

  virtual void event(const EngineEvent& event) = 0;

  // Comes once after each message and each entry that is done: the moment for waiting window messages.
  virtual void yield() = 0;
};

enum class ReplaceAnswer { Yes, No, None };

class UnzipClient : public EngineClient {
 public:
  // An entry of a listing.
  virtual void listed(const EngineEntry& entry) = 0;

  // Whether an existing file may be replaced. `name` is the entry's.
  virtual ReplaceAnswer mayReplace(const std::wstring& name) = 0;

  // The password of an encrypted archive; empty: none.
  virtual std::wstring password() = 0;
};

// Codes of the engines that the library looks at; the others are in engine/Vanto5.h and engine/Vanto6.h.
inline constexpr std::int32_t kZipDone = 0;
inline constexpr std::int32_t kUnzipDone = 0;
inline constexpr std::int32_t kUnzipWarning = 1;  // done, with something to remark
inline constexpr std::int32_t kUnzipNoArchive = 9;

class ZipEngine {
 public:
  virtual ~ZipEngine() = default;

  // Makes one archive. Returns the engine's code; throws what `client` threw.
  [[nodiscard]] virtual std::int32_t run(const ZipRequest& request, EngineClient& client) = 0;
};

class UnzipEngine {
 public:
  virtual ~UnzipEngine() = default;

  // Lists, tests or extracts one archive. Returns the engine's code; throws what `client` threw.
  [[nodiscard]] virtual std::int32_t run(const UnzipRequest& request, UnzipClient& client) = 0;
};

// The engines of this library, loaded for as long as the result lives: VANTO5.DLL and VANTO6.DLL, the file beside this
// library, else the one that the system's search finds. Throw 53 when there is none, 48 when it cannot be loaded (of
// another architecture, damaged), 453 when it lacks a function; the description names the file. LoadLibraryExW,
// GetProcAddress.
std::unique_ptr<ZipEngine> loadZipEngine();
std::unique_ptr<UnzipEngine> loadUnzipEngine();

}  // namespace qev
