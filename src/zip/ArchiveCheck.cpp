#include "zip/ArchiveCheck.h"

#include <utility>

namespace qev {

ArchiveCheck::ArchiveCheck(Platform& platform, CUnzipFiles::EngineLoader loadEngine, const std::wstring& path,
                           const std::vector<ZipDirectoryEntry>& entries)
    : zip_(platform, std::move(loadEngine)), progress_(entries) {
  zip_.setZipFileName(path);
  zip_.onMessage = [this](const std::wstring& text) {
    progress_.message(text);
    remarks_.message(text);
    if (onProgress) onProgress(progress_.done());
  };
}

std::int32_t ArchiveCheck::run() {
  return zip_.Test();
}

}  // namespace qev
