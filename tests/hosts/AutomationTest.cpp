// The automation object as a C++ host uses it: created by class id, called through its vtable, with the real registry,
// engine and window.
#include <gtest/gtest.h>
#include <windows.h>

#include <initguid.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <set>
#include <string>
#include <thread>

#include "automation/MCBackup.h"
#include "platform/Handle.h"
#include "platform/SystemServices.h"
#include "platform/Variant.h"

namespace fs = std::filesystem;

namespace qev {
namespace {

constexpr wchar_t kKey[] = L"Software\\QevBackupHostTest";

template <typename Interface>
struct ComReleaser {
  void operator()(Interface* object) const { object->Release(); }
};

template <typename Interface>
using ComPointer = std::unique_ptr<Interface, ComReleaser<Interface>>;

// The library under test, loaded as regsvr32 loads it.
class LoadedLibrary {
 public:
  LoadedLibrary() : module_(LoadLibraryW((fs::path(modulePath()).parent_path() / L"QevBackup.dll").c_str())) {}

  explicit operator bool() const { return static_cast<bool>(module_); }
  HRESULT call(const char* name) const {
    const auto function =
        reinterpret_cast<HRESULT(WINAPI*)()>(reinterpret_cast<void*>(GetProcAddress(module_.get(), name)));
    return function ? function() : E_NOTIMPL;
  }

 private:
  UniqueModule module_;
};

void collectKeys(HKEY parent, const std::wstring& path, int depth, std::set<std::wstring>& keys) {
  HKEY opened = nullptr;
  if (RegOpenKeyExW(parent, path.c_str(), 0, KEY_READ, &opened) != ERROR_SUCCESS) return;
  const UniqueKey key(opened);
  wchar_t name[256];
  for (DWORD index = 0;; ++index) {
    DWORD length = 256;
    if (RegEnumKeyExW(key.get(), index, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) return;
    const std::wstring child = path + L"\\" + name;
    keys.insert(child);
    if (depth > 1) collectKeys(parent, child, depth - 1, keys);
  }
}

std::set<std::wstring> classKeys() {
  std::set<std::wstring> keys;
  collectKeys(HKEY_LOCAL_MACHINE, L"Software\\Classes", 1, keys);
  for (const wchar_t* place : {L"CLSID", L"TypeLib", L"Interface"}) {
    collectKeys(HKEY_LOCAL_MACHINE, std::wstring(L"Software\\Classes\\") + place, 1, keys);
  }
  return keys;
}

std::wstring textOf(HRESULT (STDMETHODCALLTYPE IMCBackup::*getter)(BSTR*), IMCBackup& object) {
  Bstr text;
  EXPECT_EQ(S_OK, (object.*getter)(text.put()));
  return text.text();
}

// A host's folders and registry values, with the library registered.
class AutomationObject : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(library_);
    ASSERT_EQ(S_OK, CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED));
    ASSERT_EQ(S_OK, library_.call("DllRegisterServer"));
    wchar_t temp[MAX_PATH];
    GetTempPathW(MAX_PATH, temp);
    root_ = fs::path(temp) / L"QevBackupHost";
    fs::remove_all(root_);
    fs::create_directories(root_ / L"Datos" / L"Emp01");
    fs::create_directories(root_ / L"Backup");
    setting(L"DirDatos", (root_ / L"Datos" / L"Emp01").wstring() + L"\\");
    setting(L"DirMDE", root_.wstring() + L"\\");
  }

  void TearDown() override {
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, kKey);
    std::error_code ignored;
    fs::remove_all(root_, ignored);
    library_.call("DllUnregisterServer");
    CoUninitialize();
  }

  void setting(const std::wstring& name, const Value& value) { registry_.write(kKey, name, kLocalMachine, value); }
  Value setting(const std::wstring& name) { return registry_.read(kKey, name, kLocalMachine); }

  void writeFile(const fs::path& path, const std::string& content) { std::ofstream(path, std::ios::binary) << content; }

  static ComPointer<IMCBackup> create() {
    IMCBackup* object = nullptr;
    EXPECT_EQ(S_OK, CoCreateInstance(kClassId, nullptr, CLSCTX_INPROC_SERVER, IID_IMCBackup,
                                     reinterpret_cast<void**>(&object)));
    return ComPointer<IMCBackup>(object);
  }

  fs::path today() {
    SYSTEMTIME now{};
    GetLocalTime(&now);
    wchar_t name[40];
    swprintf(name, 40, L"Backup%02d-%02d-%02d.qev", now.wDay, now.wMonth, now.wYear % 100);
    return root_ / L"Backup" / name;
  }

  LoadedLibrary library_;
  RegistryWindows registry_;
  fs::path root_;
};

TEST_F(AutomationObject, IsCreatedByItsProgId) {
  CLSID id{};
  ASSERT_EQ(S_OK, CLSIDFromProgID(kProgId, &id));
  EXPECT_EQ(kClassId, id);
  EXPECT_NE(nullptr, create());
}

TEST_F(AutomationObject, TerminadoReadsFalseUntilTheFirstWindowCloses) {
  const auto object = create();
  EXPECT_EQ(L"False", textOf(&IMCBackup::get_Terminado, *object));
}

TEST_F(AutomationObject, HasItsMembersInVtableOrder) {
  const auto object = create();
  ITypeInfo* info = nullptr;
  ASSERT_EQ(S_OK, object->GetTypeInfo(0, LOCALE_USER_DEFAULT, &info));
  const ComPointer<ITypeInfo> owned(info);
  TYPEATTR* attributes = nullptr;
  ASSERT_EQ(S_OK, info->GetTypeAttr(&attributes));
  std::vector<std::wstring> members;
  for (UINT i = 0; i < attributes->cFuncs; ++i) {
    FUNCDESC* function = nullptr;
    ASSERT_EQ(S_OK, info->GetFuncDesc(i, &function));
    Bstr name;
    info->GetDocumentation(function->memid, name.put(), nullptr, nullptr, nullptr);
    if (function->memid < 0x60000000) {
      const wchar_t* kind = function->invkind == INVOKE_PROPERTYGET   ? L" get"
                            : function->invkind == INVOKE_PROPERTYPUT ? L" let"
                                                                      : L"";
      members.push_back(name.text() + kind);
    }
    info->ReleaseFuncDesc(function);
  }
  info->ReleaseTypeAttr(attributes);
  const std::vector<std::wstring> expected = {
      L"Titulo get",   L"Titulo let",    L"DirBackup get", L"DirBackup let", L"DirDatos let", L"Registro get",
      L"Registro let", L"FormRestaurar", L"FormCopiar",    L"FormOpciones",  L"CopiaProg",    L"Destino",
      L"CopiaAuto",    L"Terminado get", L"Terminado let", L"CCopias",       L"Aceptar get"};
  EXPECT_EQ(expected, members);
}

TEST_F(AutomationObject, TwoObjectsShareOneState) {
  const auto first = create();
  const auto second = create();
  EXPECT_EQ(S_OK, first->put_Titulo(Bstr(L"Gestión").get()));
  EXPECT_EQ(L"Gestión", textOf(&IMCBackup::get_Titulo, *second));
  EXPECT_EQ(S_OK, second->put_DirBackup(Bstr(L"D:\\Otra\\").get()));
  EXPECT_EQ(L"D:\\Otra\\", textOf(&IMCBackup::get_DirBackup, *first));
}

TEST_F(AutomationObject, RegistroDerivesTheFoldersAndCreatesTheOneBesideTheData) {
  const auto object = create();
  ASSERT_EQ(S_OK, object->put_Registro(Bstr(kKey).get()));
  EXPECT_EQ(kKey, textOf(&IMCBackup::get_Registro, *object));
  EXPECT_EQ(root_.wstring() + L"\\Backup\\", textOf(&IMCBackup::get_DirBackup, *object));
  EXPECT_TRUE(fs::is_directory(root_ / L"Datos" / L"Backup"));
}

TEST_F(AutomationObject, RegistroRaisesWhenTheFolderCannotBeCreated) {
  setting(L"DirDatos", std::wstring(L"C:\\NoExiste\\Tampoco\\Datos\\"));
  const auto object = create();
  EXPECT_EQ(S_OK, object->put_DirBackup(Bstr(L"D:\\Antes\\").get()));
  EXPECT_EQ(static_cast<HRESULT>(0x800A004C), object->put_Registro(Bstr(kKey).get()));
  IErrorInfo* info = nullptr;
  ASSERT_EQ(S_OK, GetErrorInfo(0, &info));
  const ComPointer<IErrorInfo> owned(info);
  Bstr description, source;
  info->GetDescription(description.put());
  info->GetSource(source.put());
  EXPECT_EQ(L"QevBackup", source.text());
  EXPECT_NE(std::wstring::npos, description.text().find(L"C:\\NoExiste\\Tampoco\\Backup")) << "names the folder";
  EXPECT_EQ(kKey, textOf(&IMCBackup::get_Registro, *object));
  EXPECT_EQ(L"D:\\Antes\\", textOf(&IMCBackup::get_DirBackup, *object)) << "the steps after the error are not taken";
}

TEST_F(AutomationObject, MissingValuesReadAsEmptyAndTheStepsGoOn) {
  const auto object = create();
  RegDeleteTreeW(HKEY_LOCAL_MACHINE, kKey);
  const bool existed = fs::exists(L"\\Backup");
  EXPECT_EQ(S_OK, object->put_Registro(Bstr(kKey).get()));
  EXPECT_EQ(L"Backup\\", textOf(&IMCBackup::get_DirBackup, *object));
  EXPECT_TRUE(fs::is_directory(L"\\Backup"));
  if (!existed) fs::remove(L"\\Backup");
}

TEST_F(AutomationObject, AnUnconvertibleTerminadoIsAnErrorToTheCaller) {
  const auto object = create();
  EXPECT_EQ(static_cast<HRESULT>(0x800A000D), object->put_Terminado(Bstr(L"quizás").get()));
  EXPECT_EQ(S_OK, object->put_Terminado(Bstr(L"True").get()));
  EXPECT_EQ(L"True", textOf(&IMCBackup::get_Terminado, *object));
  EXPECT_EQ(S_OK, object->put_Terminado(Bstr(L"False").get()));
  EXPECT_EQ(L"False", textOf(&IMCBackup::get_Terminado, *object));
}

TEST_F(AutomationObject, SupportsErrorInformationForItsInterface) {
  const auto object = create();
  ISupportErrorInfo* support = nullptr;
  ASSERT_EQ(S_OK, object->QueryInterface(IID_ISupportErrorInfo, reinterpret_cast<void**>(&support)));
  const ComPointer<ISupportErrorInfo> owned(support);
  EXPECT_EQ(S_OK, support->InterfaceSupportsErrorInfo(IID_IMCBackup));
  EXPECT_EQ(S_FALSE, support->InterfaceSupportsErrorInfo(IID_IPersist));
}

TEST_F(AutomationObject, CopiaAutoMakesASetAndClosesByItself) {
  writeFile(root_ / L"Datos" / L"Emp01" / L"clientes.txt", "Peña");
  writeFile(root_ / L"Util.mde", "Util");
  writeFile(root_ / L"Gestion.ini", "[General]");
  setting(L"Cerrar", std::int32_t{1});
  const auto object = create();
  object->put_Titulo(Bstr(L"Gestion").get());
  object->put_Terminado(Bstr(L"False").get());
  ASSERT_EQ(S_OK, object->put_Registro(Bstr(kKey).get()));
  ASSERT_EQ(S_OK, object->CopiaAuto());
  EXPECT_EQ(L"True", textOf(&IMCBackup::get_Terminado, *object));
  EXPECT_EQ(Value(std::wstring(L"Ultima copia de seguridad realizada correctamente")), setting(L"Estado"));
  ASSERT_TRUE(fs::exists(today()));
  std::ifstream set(today(), std::ios::binary);
  std::string header;
  std::getline(set, header);
  EXPECT_EQ("Programa : Gestion;Fecha Creaci\xF3n : ", header.substr(0, 36));
  char signature[4]{};
  set.read(signature, 4);
  EXPECT_EQ(std::string("PK\x03\x04", 4), std::string(signature, 4));
}

TEST_F(AutomationObject, AQuitMessageThatIsWaitingDoesNotKeepCopiaAutoFromMakingTheSet) {
  writeFile(root_ / L"Datos" / L"Emp01" / L"clientes.txt", "Peña");
  const auto object = create();
  object->put_Titulo(Bstr(L"Gestion").get());
  ASSERT_EQ(S_OK, object->put_Registro(Bstr(kKey).get()));
  PostQuitMessage(17);
  ASSERT_EQ(S_OK, object->CopiaAuto()) << "it closes by itself: who quits has asked for that";
  EXPECT_TRUE(fs::exists(today()));
  MSG message{};
  ASSERT_TRUE(PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE)) << "it is left to the host's loop";
  EXPECT_EQ(17u, message.wParam);
}

TEST_F(AutomationObject, DirDatosNamesTheDataInPlaceOfThoseThatRegistroRead) {
  writeFile(root_ / L"Datos" / L"Emp01" / L"clientes.txt", "uno");
  fs::create_directories(root_ / L"Datos" / L"Emp02");
  writeFile(root_ / L"Datos" / L"Emp02" / L"otros.txt", "dos");
  setting(L"Cerrar", std::int32_t{1});
  const auto object = create();
  ASSERT_EQ(S_OK, object->put_Registro(Bstr(kKey).get()));
  ASSERT_EQ(S_OK, object->put_DirDatos(Bstr(((root_ / L"Datos" / L"Emp02").wstring() + L"\\").c_str()).get()));
  ASSERT_EQ(S_OK, object->CopiaAuto());
  std::ifstream set(today(), std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(set), {}};
  EXPECT_NE(std::string::npos, bytes.find("Emp02/otros.txt"));
  EXPECT_EQ(std::string::npos, bytes.find("clientes.txt"));
}

TEST_F(AutomationObject, CopiaProgGoesToTheFolderThatDestinoRead) {
  writeFile(root_ / L"Datos" / L"Emp01" / L"clientes.txt", "Peña");
  fs::create_directories(root_ / L"Lejos");
  setting(L"Destino", (root_ / L"Lejos").wstring() + L"\\");
  setting(L"Cerrar", std::wstring(L"1"));
  const auto object = create();
  ASSERT_EQ(S_OK, object->put_Registro(Bstr(kKey).get()));
  ASSERT_EQ(S_OK, object->Destino());
  ASSERT_EQ(S_OK, object->CopiaProg());
  EXPECT_TRUE(fs::exists(root_ / L"Lejos" / today().filename()));
}

// Answers the question that comes up with a click on one of its buttons.
std::thread answering(int button) {
  return std::thread([button] {
    for (int i = 0; i < 400; ++i) {
      HWND dialog = nullptr;
      while ((dialog = FindWindowExW(nullptr, dialog, L"#32770", L"Gestion")) != nullptr) {
        const HWND wanted = GetDlgItem(dialog, button);
        if (!wanted || !IsWindowVisible(wanted)) continue;
        PostMessageW(dialog, WM_COMMAND, static_cast<WPARAM>(button), reinterpret_cast<LPARAM>(wanted));
        return;
      }
      Sleep(50);
    }
  });
}

TEST_F(AutomationObject, TwoBackupsOnOneDayHaveTheSameName) {
  writeFile(root_ / L"Datos" / L"Emp01" / L"clientes.txt", "uno");
  setting(L"Cerrar", std::int32_t{1});
  const auto object = create();
  object->put_Titulo(Bstr(L"Gestion").get());
  ASSERT_EQ(S_OK, object->put_Registro(Bstr(kKey).get()));
  ASSERT_EQ(S_OK, object->CopiaAuto());
  const auto first = fs::file_size(today());
  writeFile(root_ / L"Datos" / L"Emp01" / L"facturas.txt", "dos");
  std::thread user = answering(IDYES);
  ASSERT_EQ(S_OK, object->CopiaAuto());
  user.join();
  const auto sets = fs::directory_iterator(root_ / L"Backup");
  EXPECT_EQ(1, std::distance(begin(sets), end(sets)));
  EXPECT_GT(fs::file_size(today()), first) << "the second backup replaced the first";
}

TEST_F(AutomationObject, CopiaProgBeforeDestinoGoesToTheCurrentFolder) {
  writeFile(root_ / L"Datos" / L"Emp01" / L"clientes.txt", "uno");
  setting(L"Cerrar", std::int32_t{1});
  const fs::path before = fs::current_path();
  fs::create_directories(root_ / L"Actual");
  fs::current_path(root_ / L"Actual");
  const auto object = create();
  ASSERT_EQ(S_OK, object->put_Registro(Bstr(kKey).get()));
  ASSERT_EQ(S_OK, object->CopiaProg());
  EXPECT_TRUE(fs::exists(root_ / L"Actual" / today().filename()));
  fs::current_path(before);
}

TEST_F(AutomationObject, AnEmptyRegistroReadsNothingAndGoesOn) {
  const auto object = create();
  const bool existed = fs::exists(L"\\Backup");
  EXPECT_EQ(S_OK, object->put_Registro(Bstr(L"").get()));
  EXPECT_EQ(L"Backup\\", textOf(&IMCBackup::get_DirBackup, *object));
  if (!existed) fs::remove(L"\\Backup");
}

TEST_F(AutomationObject, CCopiasKeepsTheNewestFilesOfTheBackupFolder) {
  for (int i = 0; i < 12; ++i) {
    const fs::path set = root_ / L"Backup" / (std::to_wstring(100 + i) + L".qev");
    writeFile(set, "PK");
    fs::last_write_time(set, fs::file_time_type::clock::now() - std::chrono::hours(24 * (12 - i)));
  }
  const auto object = create();
  ASSERT_EQ(S_OK, object->put_Registro(Bstr(kKey).get()));
  ASSERT_EQ(S_OK, object->CCopias());
  EXPECT_FALSE(fs::exists(root_ / L"Backup" / L"101.qev"));
  EXPECT_TRUE(fs::exists(root_ / L"Backup" / L"102.qev"));
  setting(L"NCopias", std::int16_t{0});
  ASSERT_EQ(S_OK, object->CCopias());
  EXPECT_TRUE(fs::is_empty(root_ / L"Backup"));
}

TEST_F(AutomationObject, CCopiasRaisesWhatGoesWrongWithNumberSourceAndDescription) {
  writeFile(root_ / L"Backup" / L"en uso.qev", "PK");
  setting(L"NCopias", std::int16_t{0});
  const auto object = create();
  ASSERT_EQ(S_OK, object->put_Registro(Bstr(kKey).get()));
  const auto open = UniqueFile(
      CreateFileW((root_ / L"Backup" / L"en uso.qev").c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
  ASSERT_TRUE(open);
  EXPECT_EQ(static_cast<HRESULT>(0x800A0046), object->CCopias());
  IErrorInfo* info = nullptr;
  ASSERT_EQ(S_OK, GetErrorInfo(0, &info));
  const ComPointer<IErrorInfo> owned(info);
  Bstr description, source;
  info->GetDescription(description.put());
  info->GetSource(source.put());
  EXPECT_EQ(L"QevBackup", source.text());
  EXPECT_EQ(L"Permiso denegado: " + (root_ / L"Backup" / L"en uso.qev").wstring(), description.text());
  setting(L"NCopias", std::wstring(L"muchas"));
  EXPECT_EQ(static_cast<HRESULT>(0x800A000D), object->CCopias());
  EXPECT_TRUE(fs::exists(root_ / L"Backup" / L"en uso.qev"));
}

// What a host gets whose settings are in the registry of the other architecture: `DirMDE` reads as "".
TEST_F(AutomationObject, CCopiasDeletesNothingWhereTheBackupFolderNamesNeitherDriveNorShare) {
  writeFile(root_ / L"Backup" / L"una.qev", "PK");
  setting(L"NCopias", std::int16_t{0});
  const auto object = create();
  ASSERT_EQ(S_OK, object->put_Registro(Bstr(kKey).get()));
  const fs::path before = fs::current_path();
  fs::current_path(root_);
  for (const wchar_t* folder : {L"Backup\\", L"", L"\\Backup\\"}) {
    EXPECT_EQ(S_OK, object->put_DirBackup(Bstr(folder).get()));
    EXPECT_EQ(static_cast<HRESULT>(0x800A004C), object->CCopias());
  }
  fs::current_path(before);
  EXPECT_TRUE(fs::exists(root_ / L"Backup" / L"una.qev"));
}

TEST_F(AutomationObject, InSafeModeCCopiasDeletesOnlySetsOfItsTitle) {
  writeFile(root_ / L"Backup" / L"nota.txt", "nota");
  writeFile(root_ / L"Backup" / L"otra.qev", "PK");
  setting(L"NCopias", std::int16_t{0});
  setting(L"Verificar", std::wstring(L"S\u00ED"));
  const auto object = create();
  ASSERT_EQ(S_OK, object->put_Registro(Bstr(kKey).get()));
  EXPECT_EQ(S_OK, object->CCopias());
  EXPECT_TRUE(fs::exists(root_ / L"Backup" / L"nota.txt"));
  EXPECT_TRUE(fs::exists(root_ / L"Backup" / L"otra.qev"));
  setting(L"Verificar", std::wstring(L"No"));
  EXPECT_EQ(S_OK, object->CCopias());
  EXPECT_TRUE(fs::is_empty(root_ / L"Backup"));
}

// The manual backup dialog, when it is open; null when it has not come up after a while.
HWND copyDialog() {
  for (int i = 0; i < 400; ++i) {
    const HWND dialog = FindWindowW(L"#32770", L"Crear Copia");
    if (dialog && IsWindowVisible(dialog)) return dialog;
    Sleep(50);
  }
  return nullptr;
}

TEST_F(AutomationObject, AcceptedAndFinishedAfterACancelledFormCopiar) {
  const auto object = create();
  object->put_Titulo(Bstr(L"Gestion").get());
  object->put_Terminado(Bstr(L"False").get());
  std::thread user([] { PostMessageW(copyDialog(), WM_COMMAND, IDCANCEL, 0); });
  EXPECT_EQ(S_OK, object->FormCopiar());
  user.join();
  VARIANT_BOOL accepted = VARIANT_TRUE;
  EXPECT_EQ(S_OK, object->get_Aceptar(&accepted));
  EXPECT_EQ(VARIANT_FALSE, accepted);
  EXPECT_EQ(L"True", textOf(&IMCBackup::get_Terminado, *object));
}

// What a timer of the host does while the dialog is open.
IMCBackup* timerObject = nullptr;
HRESULT timerResults[5] = {};

void CALLBACK callFromTimer(HWND, UINT, UINT_PTR timer, DWORD) {
  const HWND dialog = FindWindowW(L"#32770", L"Crear Copia");
  if (!dialog || !IsWindowVisible(dialog)) return;
  KillTimer(nullptr, timer);
  timerResults[0] = timerObject->FormCopiar();
  timerResults[1] = timerObject->CopiaAuto();
  timerResults[2] = timerObject->FormRestaurar();
  timerResults[3] = timerObject->FormOpciones();
  timerResults[4] = timerObject->CopiaProg();
  PostMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
}

TEST_F(AutomationObject, ASecondFormWhileOneIsOpenRaises400) {
  const auto object = create();
  timerObject = object.get();
  SetTimer(nullptr, 0, 50, &callFromTimer);
  EXPECT_EQ(S_OK, object->FormCopiar());
  for (const HRESULT result : timerResults) EXPECT_EQ(static_cast<HRESULT>(0x800A0190), result);
}

void CALLBACK leaveRestoreDialog(HWND, UINT, UINT_PTR timer, DWORD) {
  const HWND dialog = FindWindowW(L"#32770", L"Restaurar Copia");
  if (!dialog || !IsWindowVisible(dialog)) return;
  KillTimer(nullptr, timer);
  PostMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
}

TEST_F(AutomationObject, FormRestaurarShowsTheRestoreDialogAndSaysWhenItHasClosed) {
  const auto object = create();
  EXPECT_EQ(S_OK, object->put_Terminado(Bstr(L"False").get()));
  SetTimer(nullptr, 0, 50, &leaveRestoreDialog);
  EXPECT_EQ(S_OK, object->FormRestaurar());
  EXPECT_EQ(L"True", textOf(&IMCBackup::get_Terminado, *object));
}

TEST_F(AutomationObject, NullPointersAreRefused) {
  const auto object = create();
  EXPECT_EQ(E_POINTER, object->get_Titulo(nullptr));
  EXPECT_EQ(E_POINTER, object->get_Aceptar(nullptr));
  EXPECT_EQ(S_OK, object->put_Titulo(nullptr)) << "a null BSTR is the empty text";
  EXPECT_EQ(L"", textOf(&IMCBackup::get_Titulo, *object));
}

TEST_F(AutomationObject, KeepsTheLibraryLoadedWhileItLives) {
  EXPECT_EQ(S_OK, library_.call("DllCanUnloadNow"));
  {
    const auto object = create();
    EXPECT_EQ(S_FALSE, library_.call("DllCanUnloadNow"));
  }
  EXPECT_EQ(S_OK, library_.call("DllCanUnloadNow"));
}

TEST_F(AutomationObject, AServerLockKeepsTheLibraryLoaded) {
  IClassFactory* factory = nullptr;
  ASSERT_EQ(S_OK, CoGetClassObject(kClassId, CLSCTX_INPROC_SERVER, nullptr, IID_IClassFactory,
                                   reinterpret_cast<void**>(&factory)));
  factory->LockServer(TRUE);
  EXPECT_EQ(S_FALSE, library_.call("DllCanUnloadNow"));
  factory->LockServer(FALSE);
  IUnknown* aggregated = nullptr;
  EXPECT_EQ(CLASS_E_NOAGGREGATION,
            factory->CreateInstance(factory, IID_IUnknown, reinterpret_cast<void**>(&aggregated)));
  factory->Release();
  EXPECT_EQ(S_OK, library_.call("DllCanUnloadNow"));
}

TEST(Registration, LeavesNothingBehind) {
  const LoadedLibrary loaded;
  ASSERT_TRUE(loaded);
  loaded.call("DllUnregisterServer");
  const auto before = classKeys();
  ASSERT_EQ(S_OK, loaded.call("DllRegisterServer"));
  const auto registered = classKeys();
  EXPECT_GT(registered.size(), before.size());
  EXPECT_EQ(S_OK, loaded.call("DllUnregisterServer"));
  EXPECT_EQ(before, classKeys());
  EXPECT_EQ(S_OK, loaded.call("DllUnregisterServer")) << "a second time does no harm";
}

// The class of the library's other architecture, as its registration leaves it.
class OtherArchitecture {
 public:
  OtherArchitecture() {
    HKEY key = nullptr;
    RegCreateKeyExW(HKEY_LOCAL_MACHINE, kPath, 0, nullptr, 0, KEY_SET_VALUE | kView, nullptr, &key, nullptr);
    UniqueKey(key).reset();
  }
  OtherArchitecture(const OtherArchitecture&) = delete;
  OtherArchitecture& operator=(const OtherArchitecture&) = delete;
  ~OtherArchitecture() { remove(); }

  void remove() { RegDeleteKeyExW(HKEY_LOCAL_MACHINE, kPath, kView, 0); }

  // A 32-bit system has one view: there is no other architecture.
  static bool isPossible() {
    BOOL beside64 = FALSE;
    return sizeof(void*) == 8 || (IsWow64Process(GetCurrentProcess(), &beside64) && beside64);
  }

 private:
  static constexpr wchar_t kPath[] = L"Software\\Classes\\CLSID\\{0AC7F841-5908-4EC9-A1C7-BB195E07CBE5}";
  static constexpr REGSAM kView = sizeof(void*) == 8 ? KEY_WOW64_32KEY : KEY_WOW64_64KEY;
};

TEST(Registration, TheLastArchitectureToGoTakesTheSharedProgIdAlong) {
  if (!OtherArchitecture::isPossible()) GTEST_SKIP() << "this system has one architecture";
  const auto progIdStands = [] {
    CLSID id;
    return SUCCEEDED(CLSIDFromProgID(L"QevBackup.MCBackup", &id));
  };
  const LoadedLibrary loaded;
  ASSERT_EQ(S_OK, loaded.call("DllRegisterServer"));
  OtherArchitecture other;
  EXPECT_EQ(S_OK, loaded.call("DllUnregisterServer"));
  EXPECT_TRUE(progIdStands());
  other.remove();
  EXPECT_EQ(S_OK, loaded.call("DllUnregisterServer"));
  EXPECT_FALSE(progIdStands());
}

TEST(Registration, SaysApartmentAndTheFullPath) {
  const LoadedLibrary loaded;
  ASSERT_EQ(S_OK, loaded.call("DllRegisterServer"));
  const std::wstring server = L"Software\\Classes\\CLSID\\{0AC7F841-5908-4EC9-A1C7-BB195E07CBE5}\\InprocServer32";
  const RegistryWindows registry;
  EXPECT_EQ(Value(std::wstring(L"Apartment")), registry.read(server, L"ThreadingModel", kLocalMachine));
  const Value path = registry.read(server, L"", kLocalMachine);
  ASSERT_TRUE(std::holds_alternative<std::wstring>(path));
  EXPECT_TRUE(fs::exists(std::get<std::wstring>(path)));
  EXPECT_EQ(S_OK, loaded.call("DllUnregisterServer"));
}

}  // namespace
}  // namespace qev
