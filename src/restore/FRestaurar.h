// The restore dialog: the user picks a backup set, sees how old it is and on how many disks, chooses where it goes, and
// confirms. The restore window follows while the dialog is hidden; when that has restored the set the dialog closes,
// otherwise it is there again.
//
// Whatever closes it sets FormSession::finished.
#pragma once

#include <optional>
#include <string>

#include "controls/ModalForm.h"
#include "controls/UComboBox.h"
#include "controls/UTextBox.h"
#include "platform/Platform.h"
#include "set/SetHeader.h"
#include "settings/SettingsStore.h"
#include "zip/CUnzipFiles.h"

namespace qev {

class FRestaurar final : public ModalForm {
 public:
  // REQUIRES: all references outlive the dialog.
  FRestaurar(Platform& platform, const HostSettings& host, FormSession& session,
             CUnzipFiles::EngineLoader loadEngine = loadUnzipEngine);

 private:
  // ModalForm
  void load() override;
  void command(int id) override;
  void unload() override { session().finished = true; }

  void BCargar_Click();
  void TNombre_AfterUpdate();
  void TTipo_Change();
  void BCarpeta_Click();
  void BRestaurar_Click();

  void bindFields();
  void clearSet();
  void showSet(const std::wstring& path, const SetHeader& set);
  bool originalLocation() const;
  bool mayOverwrite() const;
  void restore();
  void comeBack();

  SettingsStore settings_;
  CUnzipFiles::EngineLoader loadEngine_;
  UTextBox* TNombre_ = nullptr;
  UTextBox* TFecha_ = nullptr;
  UTextBox* TNVol_ = nullptr;
  UComboBox* TTipo_ = nullptr;
  UTextBox* TDestino_ = nullptr;
  std::optional<SetHeader> set_;  // what the header of the set in TNombre says
  bool shownAsOriginal_ = false;  // the destination is that of the original location
};

}  // namespace qev
