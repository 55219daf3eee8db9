// The table from the system's codes to the numbers that automation hosts know.
#include "platform/Win32Error.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace qev::test {
namespace {

AutomationError thrownByHresult(HRESULT result) {
  try {
    throwHresult(result);
  } catch (const AutomationError& error) {
    return error;
  }
}

TEST(Win32ErrorTest, EveryCodeOfTheTableHasItsNumber) {
  const std::vector<std::pair<DWORD, int>> table = {{ERROR_FILE_NOT_FOUND, 53},
                                                    {ERROR_PATH_NOT_FOUND, 76},
                                                    {ERROR_INVALID_DRIVE, 76},
                                                    {ERROR_BAD_NETPATH, 76},
                                                    {ERROR_BAD_NET_NAME, 76},
                                                    {ERROR_BAD_PATHNAME, 76},
                                                    {ERROR_INVALID_NAME, 76},
                                                    {ERROR_DIRECTORY, 76},
                                                    {ERROR_FILENAME_EXCED_RANGE, 76},
                                                    {ERROR_ACCESS_DENIED, 70},
                                                    {ERROR_SHARING_VIOLATION, 70},
                                                    {ERROR_LOCK_VIOLATION, 70},
                                                    {ERROR_WRITE_PROTECT, 70},
                                                    {ERROR_NETWORK_ACCESS_DENIED, 70},
                                                    {ERROR_USER_MAPPED_FILE, 70},
                                                    {ERROR_NOT_ENOUGH_MEMORY, 7},
                                                    {ERROR_OUTOFMEMORY, 7},
                                                    {ERROR_DISK_FULL, 61},
                                                    {ERROR_HANDLE_DISK_FULL, 61},
                                                    {ERROR_NOT_READY, 71},
                                                    {ERROR_NO_MEDIA_IN_DRIVE, 71},
                                                    {ERROR_MEDIA_CHANGED, 71},
                                                    {ERROR_WRONG_DISK, 71},
                                                    {ERROR_DEVICE_NOT_CONNECTED, 71},
                                                    {ERROR_UNRECOGNIZED_VOLUME, 71},
                                                    {ERROR_FILE_EXISTS, 58},
                                                    {ERROR_ALREADY_EXISTS, 58},
                                                    // a network that does not lead there
                                                    {ERROR_NETNAME_DELETED, 76},
                                                    {ERROR_UNEXP_NET_ERR, 76},
                                                    {ERROR_NETWORK_UNREACHABLE, 76},
                                                    {ERROR_HOST_UNREACHABLE, 76},
                                                    {ERROR_BAD_NET_RESP, 76},
                                                    {ERROR_SEM_TIMEOUT, 76},
                                                    {ERROR_NO_NET_OR_BAD_PATH, 76},
                                                    {ERROR_REM_NOT_LIST, 76},
                                                    {ERROR_DEV_NOT_EXIST, 76},
                                                    {ERROR_SHARING_PAUSED, 76},
                                                    {ERROR_VC_DISCONNECTED, 76},
                                                    {ERROR_CONNECTION_UNAVAIL, 76},
                                                    {ERROR_NO_NETWORK, 76},
                                                    {ERROR_CONNECTION_REFUSED, 76},
                                                    {ERROR_CONNECTION_ABORTED, 76},
                                                    {ERROR_NOT_CONNECTED, 76},
                                                    {ERROR_CANT_RESOLVE_FILENAME, 76},
                                                    // a user who may not
                                                    {ERROR_LOGON_FAILURE, 70},
                                                    {ERROR_ACCOUNT_RESTRICTION, 70},
                                                    {ERROR_ACCOUNT_DISABLED, 70},
                                                    {ERROR_ACCOUNT_EXPIRED, 70},
                                                    {ERROR_ACCOUNT_LOCKED_OUT, 70},
                                                    {ERROR_PASSWORD_EXPIRED, 70},
                                                    {ERROR_PRIVILEGE_NOT_HELD, 70},
                                                    {ERROR_CANT_ACCESS_FILE, 70},
                                                    {ERROR_REQ_NOT_ACCEP, 70},
                                                    {ERROR_LOCKED, 70},
                                                    {225, 70},         // a virus
                                                    {226, 70},         // a virus that was deleted
                                                    {386, 70},         // cloud: authentication
                                                    {391, 70},         // cloud: in use
                                                    {395, 70},         // cloud: access denied
                                                    {0x80310000, 70},  // a volume that is locked by its encryption
                                                    // room
                                                    {ERROR_FILE_TOO_LARGE, 61},
                                                    {1295, 61},  // a quota
                                                    {314, 61},   // a volume that is larger than its disks
                                                    {ERROR_NO_SYSTEM_RESOURCES, 7},
                                                    {ERROR_COMMITMENT_LIMIT, 7},
                                                    {ERROR_DEVICE_REMOVED, 71}};
  for (const auto& [code, number] : table) EXPECT_EQ(errorNumberOf(code), number) << "code " << code;
}

TEST(Win32ErrorTest, ACodeWithoutANumberOfItsOwnIsADeviceError) {
  for (const DWORD code :
       {DWORD{ERROR_CRC}, DWORD{ERROR_SECTOR_NOT_FOUND}, DWORD{ERROR_IO_DEVICE}, DWORD{ERROR_SEEK},
        DWORD{ERROR_GEN_FAILURE}, DWORD{ERROR_FILE_CORRUPT}, DWORD{362}, DWORD{388}, DWORD{123456}, DWORD{0}}) {
    EXPECT_EQ(errorNumberOf(code), 57) << "code " << code;
  }
}

TEST(Win32ErrorTest, TheThrownErrorHasTheNumberItsDescriptionAndThePath) {
  try {
    throwWin32(ERROR_DISK_FULL, L"C:\\Año\\copia.qev");
  } catch (const AutomationError& error) {
    EXPECT_EQ(error.number(), 61);
    EXPECT_EQ(error.description(), L"Disco lleno: C:\\Año\\copia.qev");
  }
}

TEST(Win32ErrorTest, ScannersQuotasAndCloudServicesHaveTextsOfTheirOwn) {
  const std::vector<std::pair<DWORD, std::wstring>> table = {
      {225, L"El antivirus no deja usar el archivo"},
      {226, L"El antivirus ha eliminado el archivo"},
      {1295, L"Se ha superado la cuota de disco del usuario"},
      {ERROR_FILE_TOO_LARGE, L"El archivo es demasiado grande para este disco"},
      {362, L"El archivo está en la nube y no se ha podido descargar"},
      {389, L"El archivo está en la nube y no se ha podido descargar"},
      {395, L"El archivo está en la nube y no se ha podido descargar"},
      {426, L"El archivo está en la nube y no se ha podido descargar"},
      {ERROR_DISK_FULL, L"Disco lleno"},
      {ERROR_ACCESS_DENIED, L"Permiso denegado"},
      {ERROR_CRC, L"Error de entrada o salida del dispositivo"}};
  for (const auto& [code, description] : table) {
    try {
      throwWin32(code, L"C:\\Año\\clientes.db");
    } catch (const AutomationError& error) {
      EXPECT_EQ(error.number(), errorNumberOf(code));
      EXPECT_EQ(error.source(), L"QevBackup");
      EXPECT_EQ(error.description(), description + L": C:\\Año\\clientes.db") << code;
    }
  }
  EXPECT_EQ(thrownByHresult(HRESULT_FROM_WIN32(1295)).description(), L"Se ha superado la cuota de disco del usuario");
}

TEST(Win32ErrorTest, APathThatIsOnNoRemovableDriveKeepsTheNumberOfItsCode) {
  for (const wchar_t* path : {L"", L"C:\\no\\está", L"copia.qev", L"\\\\servidor\\copias\\x.qev"}) {
    try {
      throwWin32(ERROR_ACCESS_DENIED, path);
    } catch (const AutomationError& error) {
      EXPECT_EQ(error.number(), 70);
    }
  }
}

TEST(Win32ErrorTest, FailedConversionsHaveTheNumbersOfConversions) {
  EXPECT_EQ(thrownByHresult(DISP_E_OVERFLOW).number(), 6);
  EXPECT_EQ(thrownByHresult(DISP_E_TYPEMISMATCH).number(), 13);
  EXPECT_EQ(thrownByHresult(DISP_E_BADVARTYPE).number(), 13);
  EXPECT_EQ(thrownByHresult(E_INVALIDARG).number(), 13);
  EXPECT_EQ(thrownByHresult(DISP_E_DIVBYZERO).number(), 11);
  EXPECT_EQ(thrownByHresult(E_OUTOFMEMORY).number(), 7);
}

TEST(Win32ErrorTest, AnHresultThatCarriesACodeHasTheNumberOfTheCode) {
  EXPECT_EQ(thrownByHresult(HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND)).number(), 76);
  EXPECT_EQ(thrownByHresult(HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED)).number(), 70);
}

TEST(Win32ErrorTest, AnyOtherHresultIsItsOwnNumber) {
  EXPECT_EQ(thrownByHresult(REGDB_E_CLASSNOTREG).number(), REGDB_E_CLASSNOTREG);
}

}  // namespace
}  // namespace qev::test
