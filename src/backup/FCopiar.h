// The dialog "Crear Copia": a backup by hand, into a folder and under a name of the user's choice.
//
// It asks for both and hands them to the backup window, which is shown when the dialog has closed. Pressing BCopiar
// sets FormSession::accepted; BCancelar, Esc and the close box take it back and set FormSession::finished, which
// after BCopiar the backup window sets when it closes in its turn.
#pragma once

#include <optional>
#include <string>

#include "controls/ModalForm.h"
#include "controls/UTextBox.h"
#include "platform/Platform.h"
#include "zip/CZipFiles.h"

namespace qev {

class FCopiar final : public ModalForm {
 public:
  // REQUIRES: all references outlive the dialog.
  FCopiar(Platform& platform, const HostSettings& host, FormSession& session,
          CZipFiles::EngineLoader loadEngine = loadZipEngine);

  // Shows the dialog and, when the user goes ahead, the backup window after it; returns when the last of them has
  // closed. Throws 400 when a form of the library is shown already, and what ModalForm::showModal throws.
  void run();

 private:
  // ModalForm
  void load() override;
  void command(int id) override;
  void unload() override;

  void Archivo_Click();
  void BCopiar_Click();

  CZipFiles::EngineLoader loadEngine_;
  UTextBox* TDestino_ = nullptr;
  UTextBox* TNArchivo_ = nullptr;
  std::optional<std::wstring> RutaDestino_;  // the target of the backup that is to follow
};

}  // namespace qev
