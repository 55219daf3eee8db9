// The dialog "Configuración": how the host's data is backed up. Not at all, when the host closes, or on a schedule; and
// for the schedule its kind, moment and destination.
//
// There is no OK button: what the user changes is in the settings at once, and the next moment is computed anew and
// shown. Opening the dialog writes every setting back, defaults included. While the backup folder is the destination
// (EDir), no other can be chosen. Caller: showModal(); when that returns the dialog has closed and
// FormSession::finished is true.
//
// What cannot be read or is no value of its setting is reported when the dialog opens, shown as its default, and
// nothing is written before the user changes something.
#pragma once

#include <cstdint>
#include <exception>
#include <functional>
#include <string>

#include "controls/ModalForm.h"
#include "controls/UComboBox.h"
#include "controls/UTextBox.h"
#include "platform/Platform.h"
#include "settings/SettingsStore.h"

namespace qev {

class Backup final : public ModalForm {
 public:
  // REQUIRES: both references outlive the dialog.
  Backup(Platform& platform, const HostSettings& host, FormSession& session);

 private:
  // ModalForm
  void load() override;
  void command(int id) override;
  void timer(UINT_PTR id) override;
  void unload() override { session().finished = true; }

  void Copia_Click();
  void BCarpeta_Click();
  void EDir_Click();
  void Cerrar_Click();
  void BSalir_Click();
  void HoraInicio_AfterUpdate();
  void Destino_AfterUpdate();
  void TCopias_AfterUpdate(bool& cancel);

  void bindControls();
  void onEntry(EntryControl& field, std::function<void(bool& cancel)> handler);

  void fill();
  void selectMode(std::int32_t mode);
  void saveAndRecompute();
  void saveThenRefresh();
  void refresh();
  void refreshSchedule();
  void refreshDestination();
  void keepFocusVisible() const;

  std::uint8_t mode() const;
  bool scheduled() const { return mode() == 2; }
  std::wstring destinationState() const;
  std::wstring flags(int firstId, int count) const;
  void checkFlags(int firstId, int count, const std::wstring& flags) const;
  bool isChecked(int id) const;
  void setChecked(int id, bool checked) const;
  void show(int id, bool visible) const;
  void setCaption(int id, const std::wstring& caption) const;
  static void setUsable(EntryControl& field, bool usable);

  enum class Loading { Filling = 1, Done = 2 };

  SettingsStore settings_;
  Loading loading_ = Loading::Filling;  // no event does anything while the controls are filled
  std::exception_ptr loadError_;        // shown as soon as the dialog is
  std::wstring ownDestination_;         // what the backup folder has taken the place of
  UComboBox* Programar_ = nullptr;
  UTextBox* HoraInicio_ = nullptr;
  UTextBox* DDias_ = nullptr;
  UTextBox* DSemanas_ = nullptr;
  UTextBox* DMes_ = nullptr;
  UTextBox* Destino_ = nullptr;
  UTextBox* TCopias_ = nullptr;
  UTextBox* UltimaCopia_ = nullptr;
  UTextBox* PCopia_ = nullptr;
};

}  // namespace qev
