#include "restore/FCopiar.h"

#include <utility>

#include "backup/FBackup.h"
#include "platform/AutomationError.h"
#include "resources/Picture.h"
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
  closeOnEscape(*TDestino_);
  closeOnEscape(*TNArchivo_);
  toolTip(FCopiar_Archivo, L"Archivo");
  heading_.attach(window(), FCopiar_Image1, FCopiar_Label1, derivedFont(150, true));
  showIcon(FCopiar_Archivo, L"CARPETA", folderIcon_);
  showIcon(FCopiar_BCopiar, L"ACEPTAR", copyIcon_);
  showIcon(FCopiar_BCancelar, L"CANCELAR", cancelIcon_);
}

// In a field Esc takes back what the user typed; where there is nothing to take back, it is BCancelar as everywhere
// else.
void FCopiar::closeOnEscape(UTextBox& field) {
  field.Change = [this] { typed_ = true; };
  field.AfterUpdate = [this](bool&) { typed_ = false; };
  field.KeyDown = [this](std::int16_t& KeyCode, std::int16_t) {
    if (KeyCode != VK_ESCAPE || std::exchange(typed_, false)) return;
    KeyCode = 0;
    PostMessageW(window(), WM_COMMAND, MAKEWPARAM(FCopiar_BCancelar, BN_CLICKED), 0);
  };
}

void FCopiar::showIcon(int button, const wchar_t* picture, UniqueIcon& icon) const {
  icon = Picture(picture).icon(GetSystemMetrics(SM_CXSMICON));
  SendMessageW(control(button), BM_SETIMAGE, IMAGE_ICON, reinterpret_cast<LPARAM>(icon.get()));
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
    inform(L"Selecione una carpeta donde almacenar la copia de seguridad");
    return;
  }
  if (name.empty()) {
    inform(L"Introduzca un nombre para la copia de seguridad");
    SendMessageW(window(), WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(control(FCopiar_TNArchivo)), TRUE);
    return;
  }
  RutaDestino_ = folder + name + L".qev";
  session().accepted = true;
  closeForm();
}

void FCopiar::inform(const std::wstring& text) const {
  platform().messages.tell(text, host().title, message::kOk | message::kInformation);
}

// Whatever closes the dialog but BCopiar is a cancellation: BCancelar, Esc, the close box, the end of the host's
// window.
void FCopiar::unload() {
  if (RutaDestino_) return;
  session().accepted = false;
  session().finished = true;
}

}  // namespace qev
