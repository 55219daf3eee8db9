#include "automation/MCBackup.h"

#include <wrl/client.h>

#include "automation/AutomationEdge.h"
#include "automation/TypeLibrary.h"
#include "backup/CCopias.h"
#include "backup/FBackup.h"
#include "backup/FCopiar.h"
#include "platform/Variant.h"
#include "restore/FRestaurar.h"
#include "schedule/Backup.h"
#include "set/LastSet.h"
#include "set/SetFile.h"

namespace qev {
namespace {

using Microsoft::WRL::ComPtr;

HRESULT getText(const std::wstring& text, BSTR* value) {
  if (!value) return E_POINTER;
  *value = nullptr;
  return automationMember([&] { *value = Bstr(text).release(); });
}

HRESULT putText(BSTR value, std::wstring& text) {
  return automationMember([&] { text = Bstr::textOf(value); });
}

std::wstring settingText(const std::wstring& name) {
  return library().platform.locale.toText(library().settings.read(name));
}

void assignRegistro(const std::wstring& keyPath) {
  HostSettings& host = library().host;
  FileSystem& files = library().platform.files;
  host.settingsKey = keyPath;
  host.dataFolder = settingText(L"DirDatos");
  const std::wstring programFolder = settingText(L"DirMDE");
  const std::wstring beside = parentFolderName(host.dataFolder) + L"\\Backup";
  if (!files.folderExists(beside)) files.createFolder(beside);
  host.backupFolder = programFolder + L"Backup\\";
}

// The host can call from within a form, by a timer or an event of its own.
void requireNoForm() {
  if (!library().session.formsShown.empty()) throw AutomationError(kFormAlreadyShown);
}

template <typename Form>
void showForm() {
  requireNoForm();
  Form(library().platform, library().host, library().session).showModal();
}

void makeBackup(BackupKindValue kind, const std::wstring& folder) {
  Library& shared = library();
  requireNoForm();
  shared.session.BackupKind = kind;
  FBackup window(shared.platform, shared.host, shared.session);
  window.RutaDestino = folder + datedSetName(shared.platform.clock.now());
  window.showModal();
}

}  // namespace

HRESULT MCBackup::QueryInterface(REFIID id, void** object) {
  if (!object) return E_POINTER;
  if (id == IID_IUnknown || id == IID_IDispatch || id == IID_IMCBackup) {
    *object = static_cast<IMCBackup*>(this);
  } else if (id == IID_ISupportErrorInfo) {
    *object = static_cast<ISupportErrorInfo*>(this);
  } else {
    *object = nullptr;
    return E_NOINTERFACE;
  }
  AddRef();
  return S_OK;
}

ULONG MCBackup::AddRef() {
  return static_cast<ULONG>(InterlockedIncrement(&references_));
}

ULONG MCBackup::Release() {
  const LONG left = InterlockedDecrement(&references_);
  if (left == 0) delete this;
  return static_cast<ULONG>(left);
}

HRESULT MCBackup::GetTypeInfoCount(UINT* count) {
  if (!count) return E_POINTER;
  *count = 1;
  return S_OK;
}

HRESULT MCBackup::GetTypeInfo(UINT index, LCID, ITypeInfo** info) {
  if (!info) return E_POINTER;
  *info = nullptr;
  return index == 0 ? interfaceTypeInfo(info) : DISP_E_BADINDEX;
}

HRESULT MCBackup::GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID, DISPID* ids) {
  if (reserved != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
  ComPtr<ITypeInfo> info;
  const HRESULT result = interfaceTypeInfo(info.GetAddressOf());
  return FAILED(result) ? result : info->GetIDsOfNames(names, count, ids);
}

HRESULT MCBackup::Invoke(DISPID id, REFIID reserved, LCID, WORD flags, DISPPARAMS* arguments, VARIANT* result,
                         EXCEPINFO* exception, UINT* wrongArgument) {
  if (reserved != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
  ComPtr<ITypeInfo> info;
  const HRESULT outcome = interfaceTypeInfo(info.GetAddressOf());
  if (FAILED(outcome)) return outcome;
  return info->Invoke(static_cast<IMCBackup*>(this), id, flags, arguments, result, exception, wrongArgument);
}

HRESULT MCBackup::InterfaceSupportsErrorInfo(REFIID id) {
  return id == IID_IMCBackup ? S_OK : S_FALSE;
}

HRESULT MCBackup::get_Titulo(BSTR* value) {
  return getText(library().host.title, value);
}

HRESULT MCBackup::put_Titulo(BSTR value) {
  return putText(value, library().host.title);
}

HRESULT MCBackup::get_DirBackup(BSTR* value) {
  return getText(library().host.backupFolder, value);
}

HRESULT MCBackup::put_DirBackup(BSTR value) {
  return putText(value, library().host.backupFolder);
}

HRESULT MCBackup::put_DirDatos(BSTR value) {
  return putText(value, library().host.dataFolder);
}

HRESULT MCBackup::get_Registro(BSTR* value) {
  return getText(library().host.settingsKey, value);
}

HRESULT MCBackup::put_Registro(BSTR value) {
  return automationMember([&] { assignRegistro(Bstr::textOf(value)); });
}

HRESULT MCBackup::FormRestaurar() {
  return automationMember([] { showForm<FRestaurar>(); });
}

HRESULT MCBackup::FormCopiar() {
  return automationMember([] { FCopiar(library().platform, library().host, library().session).run(); });
}

HRESULT MCBackup::FormOpciones() {
  return automationMember([] { showForm<Backup>(); });
}

HRESULT MCBackup::CopiaProg() {
  return automationMember([] { makeBackup(kScheduled, library().host.destination); });
}

HRESULT MCBackup::Destino() {
  return automationMember([] {
    Library& shared = library();
    shared.host.destination = shared.platform.locale.toText(shared.settings.readStrict(L"Destino", L"C:\\"));
  });
}

HRESULT MCBackup::CopiaAuto() {
  return automationMember([] { makeBackup(kAutomatic, library().host.backupFolder); });
}

HRESULT MCBackup::get_Terminado(BSTR* value) {
  return getText(library().session.finished ? L"True" : L"False", value);
}

HRESULT MCBackup::put_Terminado(BSTR value) {
  return automationMember(
      [&] { library().session.finished = library().platform.locale.toBoolean(Value(Bstr::textOf(value))); });
}

HRESULT MCBackup::CCopias() {
  return automationMember([] {
    Library& shared = library();
    qev::CCopias(shared.platform.files, shared.settings, shared.platform.locale, shared.host, lastSet());
  });
}

HRESULT MCBackup::get_Aceptar(VARIANT_BOOL* value) {
  if (!value) return E_POINTER;
  *value = library().session.accepted ? VARIANT_TRUE : VARIANT_FALSE;
  return S_OK;
}

}  // namespace qev
