// The one public class of the library. Every object is a view of the same process-wide state.
//
// Call order for a host: create; assign Registro, which also derives the data and backup folders; optionally Titulo,
// DirBackup, DirDatos; Destino before CopiaProg; then any request. A request shows a modal window on the calling thread
// and returns when it closes; Terminado and Aceptar are read afterwards.
//
// Errors reach the host as an HRESULT with number, source and description (IErrorInfo): 0x800A0000 + n for a number n
// that automation hosts know.
#pragma once

#include "IMCBackup.h"  // made from QevBackup.idl
#include "automation/Library.h"

namespace qev {

inline constexpr CLSID kClassId = {0x0ac7f841, 0x5908, 0x4ec9, {0xa1, 0xc7, 0xbb, 0x19, 0x5e, 0x07, 0xcb, 0xe5}};
inline constexpr GUID kLibraryId = {0x888ee31d, 0xa115, 0x4238, {0x81, 0xef, 0x4d, 0xa0, 0xed, 0x94, 0x82, 0x6a}};
inline constexpr wchar_t kProgId[] = L"QevBackup.MCBackup";

class MCBackup final : public IMCBackup, public ISupportErrorInfo {
 public:
  MCBackup() = default;

  // IUnknown
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override;
  ULONG STDMETHODCALLTYPE AddRef() override;
  ULONG STDMETHODCALLTYPE Release() override;

  // IDispatch, by the type library in this module.
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override;
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) override;
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID locale, DISPID* ids) override;
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID locale, WORD flags, DISPPARAMS* arguments, VARIANT* result,
                                   EXCEPINFO* exception, UINT* wrongArgument) override;

  // ISupportErrorInfo
  HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID id) override;

  // Title of the library's windows and message boxes.
  HRESULT STDMETHODCALLTYPE get_Titulo(BSTR* value) override;
  HRESULT STDMETHODCALLTYPE put_Titulo(BSTR value) override;

  // Folder of automatic backups, with its last backslash.
  HRESULT STDMETHODCALLTYPE get_DirBackup(BSTR* value) override;
  HRESULT STDMETHODCALLTYPE put_DirBackup(BSTR value) override;

  // Folder of the host's data, with its last backslash.
  HRESULT STDMETHODCALLTYPE put_DirDatos(BSTR value) override;

  // Key path under HKEY_LOCAL_MACHINE. Assigning it reads DirDatos and DirMDE, creates the folder "Backup" beside the
  // data folder when it is missing, and sets the backup folder to DirMDE + "Backup\". Raises what the registry and the
  // folder raise.
  HRESULT STDMETHODCALLTYPE get_Registro(BSTR* value) override;
  HRESULT STDMETHODCALLTYPE put_Registro(BSTR value) override;

  // The dialogs for restoring, for a manual backup and for the schedule.
  HRESULT STDMETHODCALLTYPE FormRestaurar() override;
  HRESULT STDMETHODCALLTYPE FormCopiar() override;
  HRESULT STDMETHODCALLTYPE FormOpciones() override;

  // Backups to the destination folder (read by Destino before) and to the backup folder: "Backup" + today as dd-mm-yy +
  // ".qev". The outcome is shown to the user, not raised.
  HRESULT STDMETHODCALLTYPE CopiaProg() override;
  HRESULT STDMETHODCALLTYPE Destino() override;
  HRESULT STDMETHODCALLTYPE CopiaAuto() override;

  // "True" once a window of the library has closed, else "False". Assigning a text that is no truth value raises 13.
  HRESULT STDMETHODCALLTYPE get_Terminado(BSTR* value) override;
  HRESULT STDMETHODCALLTYPE put_Terminado(BSTR value) override;

  // Deletes the oldest sets of the backup folder beyond NCopias.
  HRESULT STDMETHODCALLTYPE CCopias() override;

  // Whether the manual backup dialog started a backup.
  HRESULT STDMETHODCALLTYPE get_Aceptar(VARIANT_BOOL* value) override;

 private:
  ~MCBackup() = default;

  LibraryUse use_;
  LONG references_ = 1;
};

}  // namespace qev
