#include "backup/FCopiar.h"

#include <utility>

#include "backup/FBackup.h"
#include "platform/AutomationError.h"
#include "resources/resource.h"

namespace qev {

FCopiar::FCopiar(Platform& platform, const HostSettings& host, FormSession& session, CZipFiles::EngineLoader loadEngine)
    : ModalForm(L"FCOPIAR", platform, host, session), loadEngine_(std::move(loadEngine)) {}

void FCopiar::run() {
  if (!session().formsShown.empty()) throw AutomationError(kFormAlreadyShown);
  RutaDestino_.reset();
  showModal();
  if (!RutaDestino_) return;
  FBackup window(platform(), host(), session(), loadEngine_);
  window.RutaDestino = *RutaDestino_;
  window.showModal();
}

void FCopiar::load() {
  TDestino_ = &textBox(FCopiar_TDestino, L"TDestino");
  TNArchivo_ = &textBox(FCopiar_TNArchivo, L"TNArchivo");
  cancelOnEscape(*TDestino_);
  cancelOnEscape(*TNArchivo_);
  toolTip(FCopiar_Archivo, L"Archivo");
  showHeading(FCopiar_Image1, FCopiar_Label1);
  showIcon(FCopiar_Archivo, L"CARPETA");
  showIcon(FCopiar_BCopiar, L"ACEPTAR");
  showIcon(FCopiar_BCancelar, L"CANCELAR");
}

void FCopiar::command(int id) {
  if (id == FCopiar_Archivo) Archivo_Click();
  if (id == FCopiar_BCopiar) BCopiar_Click();
}

void FCopiar::Archivo_Click() {
  const auto folder =
      platform().folderChooser.choose(L"Elija una carpeta donde guardar la copia de seguridad", TDestino_->Text());
  if (folder) TDestino_->setText(*folder);
}

// Folder and name are joined as they stand: it is the chooser that ends a folder with a backslash.
void FCopiar::BCopiar_Click() {
  session().BackupKind = kManual;
  const std::wstring folder = TDestino_->Text();
  const std::wstring name = TNArchivo_->Text();
  if (folder.empty()) {
    tell(L"Selecione una carpeta donde almacenar la copia de seguridad", message::kOk | message::kInformation);
    return;
  }
  if (name.empty()) {
    tell(L"Introduzca un nombre para la copia de seguridad", message::kOk | message::kInformation);
    SendMessageW(window(), WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(control(FCopiar_TNArchivo)), TRUE);
    return;
  }
  RutaDestino_ = folder + name + L".qev";
  session().accepted = true;
  closeForm();
}

// Whatever closes the dialog but BCopiar is a cancellation: BCancelar, Esc, the close box, the end of the host's
// window.
void FCopiar::unload() {
  if (RutaDestino_) return;
  session().accepted = false;
  session().finished = true;
}

}  // namespace qev
