// The bytes of set files, as the operations on sets and volumes read and write them: through one buffer of a MiB, so
// that a payload of any length costs what a small one costs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "platform/Platform.h"
#include "set/SetHeader.h"

namespace qev {

class SetBytes {
 public:
  static constexpr std::uint64_t kRest = std::numeric_limits<std::uint64_t>::max();

  // REQUIRES: `platform` outlives the object.
  explicit SetBytes(Platform& platform);

  // A reader of the file, none where there is no file. Throws other file-system errors.
  [[nodiscard]] std::unique_ptr<FileReader> openIfPresent(const std::wstring& path) const;

  // The first line of a file, no more than its first `longest` bytes, and where the next line begins.
  struct FirstLine {
    std::string text;
    std::uint64_t next = 0;
  };

  // Leaves the reader behind the line and its CR LF; no reader is an empty file. Throws file-system errors.
  FirstLine takeFirstLine(FileReader* reader, std::size_t longest = SetHeader::kLongestLine);

  // Copies at most `count` bytes. `copied`, where there is one, is told the bytes so far, about once per MiB; windows
  // that wait for their messages get them as often.
  void copy(FileReader& from, FileReplacement& to, std::uint64_t count = kRest,
            const std::function<void(std::uint64_t)>& copied = nullptr);

  // Begins to make the file at `path` anew, with these bytes.
  [[nodiscard]] std::unique_ptr<FileReplacement> begin(const std::wstring& path, const std::string& beginning);

  // Makes it anew: `beginning`, then what remains of `content`, which may be none and is closed.
  void rewrite(const std::wstring& path, const std::string& beginning, std::unique_ptr<FileReader> content);

 private:
  Platform& platform_;
  std::vector<std::byte> buffer_;
};

}  // namespace qev
