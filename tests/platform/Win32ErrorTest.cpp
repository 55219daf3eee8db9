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
  const std::vector<std::pair<DWORD, int>> table = {{ERROR_FILE_NOT_FOUND, 53},       {ERROR_PATH_NOT_FOUND, 76},
                                                    {ERROR_INVALID_DRIVE, 76},        {ERROR_BAD_NETPATH, 76},
                                                    {ERROR_BAD_NET_NAME, 76},         {ERROR_BAD_PATHNAME, 76},
                                                    {ERROR_INVALID_NAME, 76},         {ERROR_DIRECTORY, 76},
                                                    {ERROR_FILENAME_EXCED_RANGE, 76}, {ERROR_ACCESS_DENIED, 70},
                                                    {ERROR_SHARING_VIOLATION, 70},    {ERROR_LOCK_VIOLATION, 70},
                                                    {ERROR_WRITE_PROTECT, 70},        {ERROR_NETWORK_ACCESS_DENIED, 70},
                                                    {ERROR_USER_MAPPED_FILE, 70},     {ERROR_NOT_ENOUGH_MEMORY, 7},
                                                    {ERROR_OUTOFMEMORY, 7},           {ERROR_DISK_FULL, 61},
                                                    {ERROR_HANDLE_DISK_FULL, 61},     {ERROR_NOT_READY, 71},
                                                    {ERROR_NO_MEDIA_IN_DRIVE, 71},    {ERROR_MEDIA_CHANGED, 71},
                                                    {ERROR_WRONG_DISK, 71},           {ERROR_DEVICE_NOT_CONNECTED, 71},
                                                    {ERROR_UNRECOGNIZED_VOLUME, 71},  {ERROR_FILE_EXISTS, 58},
                                                    {ERROR_ALREADY_EXISTS, 58}};
  for (const auto& [code, number] : table) EXPECT_EQ(errorNumberOf(code), number) << "code " << code;
}

TEST(Win32ErrorTest, ACodeWithoutANumberOfItsOwnIsADeviceError) {
  for (const DWORD code : {DWORD{ERROR_CRC}, DWORD{ERROR_GEN_FAILURE}, DWORD{ERROR_SEEK}, DWORD{123456}, DWORD{0}}) {
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
