#include "platform/Win32Error.h"

#include "platform/FileSystem.h"

namespace qev {
namespace {

// Codes that not every compiler's headers have.
enum : DWORD {
  kVirusInfected = 225,             // ERROR_VIRUS_INFECTED
  kVirusDeleted = 226,              // ERROR_VIRUS_DELETED
  kDiskResourcesExhausted = 314,    // ERROR_DISK_RESOURCES_EXHAUSTED
  kCloudAuthentication = 386,       // ERROR_CLOUD_FILE_AUTHENTICATION_FAILED
  kCloudInUse = 391,                // ERROR_CLOUD_FILE_IN_USE
  kCloudAccessDenied = 395,         // ERROR_CLOUD_FILE_ACCESS_DENIED
  kDiskQuotaExceeded = 1295,        // ERROR_DISK_QUOTA_EXCEEDED
  kVolumeIsEncrypted = 0x80310000,  // FVE_E_LOCKED_VOLUME
};

// ERROR_CLOUD_FILE_…: of a file whose content is with a cloud service, when that does not hand it out.
bool isOfCloud(DWORD code) {
  switch (code) {
    case 362:  // PROVIDER_NOT_RUNNING
    case 363:  // METADATA_CORRUPT
    case 377:  // NOT_IN_SYNC
    case 383:  // VALIDATION_FAILED
    case 387:  // INSUFFICIENT_RESOURCES
    case 388:  // NETWORK_UNAVAILABLE
    case 389:  // UNSUCCESSFUL
    case 393:  // REQUEST_ABORTED
    case 394:  // PROPERTY_CORRUPT
    case 398:  // REQUEST_CANCELED
    case 404:  // PROVIDER_TERMINATED
    case 426:  // REQUEST_TIMEOUT
    case kCloudAuthentication:
    case kCloudInUse:
    case kCloudAccessDenied: return true;
    default: return false;
  }
}

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
    case ERROR_CANT_RESOLVE_FILENAME:
    case ERROR_REM_NOT_LIST:
    case ERROR_DEV_NOT_EXIST:
    case ERROR_BAD_NET_RESP:
    case ERROR_UNEXP_NET_ERR:
    case ERROR_NETNAME_DELETED:
    case ERROR_SHARING_PAUSED:
    case ERROR_SEM_TIMEOUT:
    case ERROR_VC_DISCONNECTED:
    case ERROR_CONNECTION_UNAVAIL:
    case ERROR_NO_NET_OR_BAD_PATH:
    case ERROR_NO_NETWORK:
    case ERROR_CONNECTION_REFUSED:
    case ERROR_GRACEFUL_DISCONNECT:
    case ERROR_NETWORK_UNREACHABLE:
    case ERROR_HOST_UNREACHABLE:
    case ERROR_PROTOCOL_UNREACHABLE:
    case ERROR_PORT_UNREACHABLE:
    case ERROR_CONNECTION_ABORTED:
    case ERROR_NOT_CONNECTED:
    case ERROR_FILENAME_EXCED_RANGE: return kPathNotFound;
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
    case ERROR_DELETE_PENDING:
    case ERROR_WRITE_PROTECT:
    case ERROR_NETWORK_ACCESS_DENIED:
    case ERROR_SHARING_BUFFER_EXCEEDED:
    case ERROR_LOCKED:
    case ERROR_FILE_CHECKED_OUT:
    case ERROR_CANT_ACCESS_FILE:
    case ERROR_PRIVILEGE_NOT_HELD:
    case ERROR_LOGON_FAILURE:
    case ERROR_INVALID_PASSWORD:
    case ERROR_PASSWORD_EXPIRED:
    case ERROR_PASSWORD_MUST_CHANGE:
    case ERROR_INVALID_LOGON_HOURS:
    case ERROR_INVALID_WORKSTATION:
    case ERROR_LOGON_TYPE_NOT_GRANTED:
    case ERROR_LOGON_NOT_GRANTED:
    case ERROR_SESSION_CREDENTIAL_CONFLICT:
    case ERROR_REQ_NOT_ACCEP:
    case ERROR_ACCOUNT_RESTRICTION:
    case ERROR_ACCOUNT_DISABLED:
    case ERROR_ACCOUNT_EXPIRED:
    case ERROR_ACCOUNT_LOCKED_OUT:
    case kVolumeIsEncrypted:
    case kCloudAuthentication:
    case kCloudInUse:
    case kCloudAccessDenied:
    case kVirusInfected:
    case kVirusDeleted:
    case ERROR_USER_MAPPED_FILE: return kPermissionDenied;
    case ERROR_NO_SYSTEM_RESOURCES:
    case ERROR_COMMITMENT_LIMIT:
    case ERROR_NOT_ENOUGH_QUOTA:
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_OUTOFMEMORY: return kOutOfMemory;
    case ERROR_FILE_TOO_LARGE:
    case kDiskQuotaExceeded:
    case kDiskResourcesExhausted:
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL: return kDiskFull;
    case ERROR_NOT_READY:
    case ERROR_NO_MEDIA_IN_DRIVE:
    case ERROR_MEDIA_CHANGED:
    case ERROR_WRONG_DISK:
    case ERROR_DEVICE_NOT_CONNECTED:
    case ERROR_DEVICE_REMOVED:
    case ERROR_UNRECOGNIZED_VOLUME: return kDiskNotReady;
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS: return kFileExists;
    default: return kDeviceInputOutput;
  }
}

std::wstring describeWin32(DWORD code) {
  if (code == kVirusInfected) return L"El antivirus no deja usar el archivo";
  if (code == kVirusDeleted) return L"El antivirus ha eliminado el archivo";
  if (code == ERROR_FILE_TOO_LARGE) return L"El archivo es demasiado grande para este disco";
  if (code == kDiskQuotaExceeded) return L"Se ha superado la cuota de disco del usuario";
  if (isOfCloud(code)) return L"El archivo está en la nube y no se ha podido descargar";
  return describeError(errorNumberOf(code));
}

void throwWin32(DWORD code, const std::wstring& path) {
  if (isRemovableAndNotReady(path)) throw AutomationError(kDiskNotReady, path);
  throw AutomationError(errorNumberOf(code), L"QevBackup", describeWin32(code) + (path.empty() ? L"" : L": " + path));
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
  if (HRESULT_FACILITY(result) == FACILITY_WIN32) {
    const auto code = static_cast<DWORD>(HRESULT_CODE(result));
    throw AutomationError(errorNumberOf(code), L"QevBackup", describeWin32(code));
  }
  throw AutomationError(result, L"QevBackup", describeError(result));
}

}  // namespace qev
