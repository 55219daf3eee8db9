// A folder of a test's own under the system's folder for temporary files; it goes, with all that is in it, at the end.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace qev::test {

class TemporaryFolder {
 public:
  TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder();

  // Its full path in long names, without a last backslash.
  const std::wstring& path() const { return path_; }

  // The full path of something in it.
  std::wstring operator/(const std::wstring& relative) const { return path_ + L"\\" + relative; }

  // Writes a file, makes a folder, in both cases with the folders that lead there. Paths of any length.
  void write(const std::wstring& relative, std::string_view bytes) const;
  void makeFolder(const std::wstring& relative) const;

  // The bytes of a file, "<none>" when it cannot be read.
  std::string bytes(const std::wstring& relative) const;

  // The names of what lies in a folder, "" for this one, in their order.
  std::vector<std::wstring> list(const std::wstring& relative = {}) const;

 private:
  std::wstring path_;
};

// A path that may be longer than 260 characters, as the system takes it.
std::wstring longPath(const std::wstring& path);

}  // namespace qev::test
