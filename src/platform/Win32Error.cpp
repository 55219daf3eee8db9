#include "platform/Win32Error.h"

#include "platform/FileSystem.h"

namespace qev {
namespace {

bool isRemovableAndNotReady(const std::wstring& path) {
  const std::wstring drive = driveName(path);
  if (drive.size() != 2) return false;
  const std::wstring root = drive + L"\\";
  if (GetDriveTypeW(root.c_str()) != DRIVE_REMOVABLE) return false;
  DWORD sectors = 0, bytes = 0, freeClusters = 0, clusters = 0;
  return !GetDiskFreeSpaceW(root.c_str(), &sectors, &bytes, &freeClusters, &clusters);
}

}  // namespace

ErrorNumber errorNumberOf(DWORD code) {
  switch (code) {
    case ERROR_FILE_NOT_FOUND: return kFileNotFound;
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_DRIVE:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
    case ERROR_BAD_PATHNAME:
    case ERROR_INVALID_NAME:
    case ERROR_DIRECTORY:
    case ERROR_FILENAME_EXCED_RANGE: return kPathNotFound;
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
    case ERROR_DELETE_PENDING:
    case ERROR_WRITE_PROTECT:
    case ERROR_NETWORK_ACCESS_DENIED:
    case ERROR_USER_MAPPED_FILE: return kPermissionDenied;
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_OUTOFMEMORY: return kOutOfMemory;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL: return kDiskFull;
    case ERROR_NOT_READY:
    case ERROR_NO_MEDIA_IN_DRIVE:
    case ERROR_MEDIA_CHANGED:
    case ERROR_WRONG_DISK:
    case ERROR_DEVICE_NOT_CONNECTED:
    case ERROR_UNRECOGNIZED_VOLUME: return kDiskNotReady;
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS: return kFileExists;
    default: return kDeviceInputOutput;
  }
}

void throwWin32(DWORD code, const std::wstring& path) {
  throw AutomationError(isRemovableAndNotReady(path) ? kDiskNotReady : errorNumberOf(code), path);
}

void throwHresult(HRESULT result) {
  switch (result) {
    case DISP_E_OVERFLOW: throw AutomationError(kOverflow);
    case DISP_E_TYPEMISMATCH:
    case DISP_E_BADVARTYPE:
    case E_INVALIDARG: throw AutomationError(kTypeMismatch);
    case DISP_E_DIVBYZERO: throw AutomationError(kDivisionByZero);
    case E_OUTOFMEMORY: throw AutomationError(kOutOfMemory);
    default: break;
  }
  if (HRESULT_FACILITY(result) == FACILITY_WIN32) throw AutomationError(errorNumberOf(HRESULT_CODE(result)));
  throw AutomationError(result, L"QevBackup", describeError(result));
}

}  // namespace qev
