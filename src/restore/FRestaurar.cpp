#include "restore/FRestaurar.h"

#include <utility>

#include "platform/AutomationError.h"
#include "resources/resource.h"
#include "restore/FPRestaura.h"
#include "restore/RestaurarCopia.h"
#include "set/SetFile.h"

namespace qev {
namespace {

constexpr wchar_t kOriginalLocation[] = L"Ubicación Original";
constexpr wchar_t kOriginalFolder[] = L"  Carpeta Origen";

}  // namespace

FRestaurar::FRestaurar(Platform& platform, const HostSettings& host, FormSession& session,
                       CUnzipFiles::EngineLoader loadEngine)
    : ModalForm(L"FRESTAURAR", platform, host, session),
      settings_(platform.registry, host.settingsKey),
      loadEngine_(std::move(loadEngine)) {}

void FRestaurar::load() {
  bindFields();
  toolTip(FRestaurar_BCargar, L"BCargar");
  toolTip(FRestaurar_BCarpeta, L"BCarpeta");
  showHeading(FRestaurar_P, FRestaurar_Label1, L"RESTAURAR");
  showIcon(FRestaurar_BCargar, L"CARPETA");
  showIcon(FRestaurar_BCarpeta, L"CARPETA");
  showIcon(FRestaurar_BRestaurar, L"ACEPTAR");
  showIcon(FRestaurar_BCancelar, L"CANCELAR");
  clearSet();
  TTipo_Change();
  CheckDlgButton(window(), FRestaurar_TEstructura, BST_CHECKED);
}

void FRestaurar::bindFields() {
  TNombre_ = &textBox(FRestaurar_TNombre, L"TNombre");
  TFecha_ = &textBox(FRestaurar_TFecha, L"TFecha");
  TNVol_ = &textBox(FRestaurar_TNVol, L"TNVol");
  TTipo_ = &comboBox(FRestaurar_TTipo, L"TTipo");
  TDestino_ = &textBox(FRestaurar_TDestino, L"TDestino");
  for (EntryControl* field : std::initializer_list<EntryControl*>{TNombre_, TFecha_, TNVol_, TTipo_, TDestino_}) {
    cancelOnEscape(*field);
  }
  onAfterUpdate(*TNombre_, [this](bool&) { TNombre_AfterUpdate(); });
  onAfterUpdate(*TTipo_, [this](bool&) { TTipo_Change(); });
  TTipo_->Click = [this] { TTipo_Change(); };
}

void FRestaurar::command(int id) {
  if (id == FRestaurar_BCargar) BCargar_Click();
  if (id == FRestaurar_BCarpeta) BCarpeta_Click();
  if (id == FRestaurar_BRestaurar) BRestaurar_Click();
}

void FRestaurar::BCargar_Click() {
  const std::wstring folder = platform().locale.toText(settings_.read(L"Dirbackup"));
  const auto path = platform().fileChooser.choose(L"Seleccione archivo de copia de seguridad", L"*.*|*.*", folder);
  if (!path) return;
  clearSet();
  try {
    if (const auto header = checkSet(platform(), *path, host().title).header) {
      showSet(*path, *header);
    } else {
      tell(foreignSetText(title()), message::kOk | message::kExclamation);
    }
  } catch (const AutomationError& error) {
    throw setError(error, *path);
  }
}

// What is typed is looked at as well, so that date and disks are those of the set that will be restored. The run says
// what is wrong with anything else: a disk of a set spread over several has no header to be known by.
void FRestaurar::TNombre_AfterUpdate() {
  const std::wstring path = TNombre_->Text();
  clearSet();
  TNombre_->setText(path);
  if (path.empty()) return;
  try {
    if (const auto header = checkSet(platform(), path, host().title).header) showSet(path, *header);
  } catch (const AutomationError&) {
  }
}

void FRestaurar::clearSet() {
  set_.reset();
  TNombre_->setText(L"");
  TFecha_->setText(L"");
  TNVol_->setText(L"");
}

void FRestaurar::showSet(const std::wstring& path, const SetHeader& set) {
  set_ = set;
  TNombre_->setText(path);
  TFecha_->setText(platform().locale.format(set.creationDate, L"dd-mm-yyyy"));
  TNVol_->setText(std::to_wstring(set.totalVolumes));
}

bool FRestaurar::originalLocation() const {
  return TTipo_->Text() == kOriginalLocation;
}

// The destination of the original location is no text to be changed: the data goes where the set says.
void FRestaurar::TTipo_Change() {
  const bool original = originalLocation();
  EnableWindow(control(FRestaurar_BCarpeta), !original);
  TDestino_->setLocked(original);
  if (original == shownAsOriginal_) return;
  shownAsOriginal_ = original;
  TDestino_->setText(original ? kOriginalFolder : L"");
}

void FRestaurar::BCarpeta_Click() {
  const auto folder =
      platform().folderChooser.choose(L"Elija una carpeta donde extraer la copia de seguridad", TDestino_->Text());
  if (folder) TDestino_->setText(*folder);
}

void FRestaurar::BRestaurar_Click() {
  if (TNombre_->Text().empty()) {
    tell(L"Debe de cargar una copia para restaurar", message::kOk | message::kExclamation);
    return;
  }
  if (mayOverwrite()) restore();
}

bool FRestaurar::mayOverwrite() const {
  const std::wstring destination = TDestino_->Text();
  const std::wstring question =
      destination == kOriginalFolder
          ? L"Si continua se perderán los datos actuales, ¿Desea continuar?"
          : L"Se van a sobreescribir los datos de la carpeta " + destination + L", ¿Desea continuar?";
  return tell(question, message::kYesNo | message::kInformation | message::kDefaultSecond) == Answer::Yes;
}

// The dialog goes out of sight when the restore window has become its window in front, which keeps the host's windows
// where they are.
void FRestaurar::restore() {
  const RestoreChoice choice{TNombre_->Text(), set_, TDestino_->Text(), originalLocation(),
                             IsDlgButtonChecked(window(), FRestaurar_TEstructura) == BST_CHECKED};
  FPRestaura run(
      platform(), host(), session(), choice, [this] { ShowWindow(window(), SW_HIDE); }, loadEngine_);
  try {
    run.showModal();
  } catch (const AutomationError&) {
    comeBack();
    throw;
  }
  if (run.restored()) {
    closeForm();
  } else {
    comeBack();
  }
}

void FRestaurar::comeBack() {
  ShowWindow(window(), SW_SHOW);
  SetForegroundWindow(window());
}

}  // namespace qev
