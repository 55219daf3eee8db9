#include "zip/ArchiveCheck.h"

#include <utility>

namespace qev {

ArchiveCheck::ArchiveCheck(Platform& platform, CUnzipFiles::EngineLoader loadEngine, const std::wstring& path,
                           const std::vector<ZipDirectoryEntry>& entries)
    : zip_(platform, std::move(loadEngine)), progress_(entries) {
  zip_.setZipFileName(path);
  zip_.onEvent = [this](const EngineEvent& event) {
    remarks_.event(event);
    if (progress_.event(event) && onProgress) onProgress(progress_.done());
  };
}

std::int32_t ArchiveCheck::run() {
  return zip_.Test();
}

}  // namespace qev
