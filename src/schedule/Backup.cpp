#include "schedule/Backup.h"

#include <initializer_list>
#include <utility>

#include "controls/WindowParts.h"
#include "platform/AutomationError.h"
#include "resources/resource.h"
#include "schedule/CalcularProximaCopia.h"

namespace qev {
namespace {

constexpr int kModes = 3;
constexpr int kWeekdays = 7;
constexpr int kMonths = 12;

constexpr wchar_t kAutomaticText[] =
    L"Se realizará una copia de seguridad de forma automática una vez al día en el momento de cerrar el programa ."
    L"\r\n\r\n"
    L"En el momento de cerrar el programa un cuadro de dialogo nos preguntará si deseamos realizar una copia de "
    L"seguridad."
    L"\r\n\r\n"
    L"En caso afirmativo la copia de seguridad de todos los datos se realizará en el directorio local de nuestro "
    L"ordenador."
    L"\r\n\r\n"
    L"En caso contrario tendremos dos opciones o no realizar en estos momentos la copia de seguridad o posponerla "
    L"hasta "
    L"otro cierre del programa mendiante el botón Cancelar.";
constexpr wchar_t kManualText[] =
    L"No se realizará ningún tipo de copia de seguridad."
    L"\r\n\r\n"
    L"Será el propio usuario el que deberá realizar la copia de seguridad manualmente, accediento al menú de copia de "
    L"seguridad.";

// Reads settings for showing them: what cannot be read has its default, and the first error is kept.
class ShownSettings {
 public:
  ShownSettings(const SettingsStore& settings, const Locale& locale) : settings_(settings), locale_(locale) {}

  // An empty text counts as no value: it is how the registry keeps an empty value.
  Value plain(const wchar_t* name, const Value& fallback) {
    const Value value = read(name);
    return value == Value(std::wstring()) ? fallback : NzValue(value, fallback);
  }
  Value strict(const wchar_t* name, const Value& fallback) { return NonBlankValue(read(name), fallback); }
  std::wstring strictText(const wchar_t* name, const std::wstring& fallback) { return text(strict(name, fallback)); }
  std::wstring asStored(const wchar_t* name) { return text(read(name)); }

  bool isSet(const wchar_t* name) {
    bool set = false;
    attempt([&] { set = locale_.toInt16(plain(name, std::int16_t{0})) != 0; });
    return set;
  }

  template <typename Step>
  void attempt(Step step) {
    try {
      step();
    } catch (const AutomationError&) {
      if (!firstError_) firstError_ = std::current_exception();
    }
  }

  void throwFirstError() const {
    if (firstError_) std::rethrow_exception(firstError_);
  }

 private:
  Value read(const wchar_t* name) {
    Value value;
    attempt([&] { value = settings_.read(name); });
    return value;
  }
  std::wstring text(const Value& value) const { return locale_.toText(value); }

  const SettingsStore& settings_;
  const Locale& locale_;
  std::exception_ptr firstError_;
};

bool isNumeric(const Locale& locale, const std::wstring& text) {
  try {
    locale.toDouble(text);
    return true;
  } catch (const AutomationError&) {
    return false;
  }
}

bool isOne(const EntryControl& field) {
  return numericValue(field.Value()) == 1;
}

}  // namespace

Backup::Backup(Platform& platform, const HostSettings& host, FormSession& session)
    : ModalForm(L"BACKUP", platform, host, session), settings_(platform.registry, host.settingsKey) {}

void Backup::load() {
  bindControls();
  showPicture(Backup_P, L"BACKUP");
  showIcon(Backup_BCarpeta, L"CARPETA");
  showIcon(Backup_BSalir, L"SALIR");
  loading_ = Loading::Filling;
  try {
    fill();
  } catch (const AutomationError&) {
    loadError_ = std::current_exception();
    if (!SetTimer(window(), Backup_LoadError, USER_TIMER_MINIMUM, nullptr)) throw;
  }
  refresh();
  loading_ = Loading::Done;
}

void Backup::bindControls() {
  Programar_ = &comboBox(Backup_Programar, L"Programar");
  HoraInicio_ = &textBox(Backup_HoraInicio, L"HoraInicio");
  DDias_ = &textBox(Backup_DDias, L"DDias");
  DSemanas_ = &textBox(Backup_DSemanas, L"DSemanas");
  DMes_ = &textBox(Backup_DMes, L"DMes");
  Destino_ = &textBox(Backup_Destino, L"Destino");
  TCopias_ = &textBox(Backup_TCopias, L"TCopias");
  UltimaCopia_ = &textBox(Backup_UltimaCopia, L"UltimaCopia");
  PCopia_ = &textBox(Backup_PCopia, L"PCopia");
  toolTip(Backup_Cerrar, L"Cerrar");
  toolTip(Backup_BCarpeta, L"BCarpeta");

  for (EntryControl* field : std::initializer_list<EntryControl*>{Programar_, DDias_, DSemanas_, DMes_}) {
    onEntry(*field, [this](bool&) { saveThenRefresh(); });
  }
  onEntry(*HoraInicio_, [this](bool&) { HoraInicio_AfterUpdate(); });
  onEntry(*Destino_, [this](bool&) { Destino_AfterUpdate(); });
  onEntry(*TCopias_, [this](bool& cancel) { TCopias_AfterUpdate(cancel); });
}

void Backup::onEntry(EntryControl& field, std::function<void(bool& cancel)> handler) {
  onAfterUpdate(field, [this, handler = std::move(handler)](bool& cancel) {
    if (loading_ == Loading::Done) handler(cancel);
  });
}

// A message box belongs over the dialog, so it waits until that can be seen.
void Backup::timer(UINT_PTR id) {
  KillTimer(window(), id);
  if (loadError_) std::rethrow_exception(std::exchange(loadError_, nullptr));
}

// ---------------------------------------------------------------------------------------------------------------------
// Settings to controls and back

void Backup::fill() {
  const Locale& locale = platform().locale;
  ShownSettings stored(settings_, locale);
  std::int32_t mode = -1;
  roundToInt32(numericValue(stored.plain(L"Copia", std::int16_t{1})), mode);
  stored.attempt([&] { selectMode(mode); });
  Programar_->setText(stored.strictText(L"Programar", L"Diariamente"));
  HoraInicio_->setText(startTimeText(stored.strictText(L"HoraInicio", timeText(platform().clock.now())), locale));
  DDias_->setValue(stored.strict(L"DDias", std::int16_t{1}));
  DSemanas_->setValue(stored.strict(L"DSemanas", std::int16_t{1}));
  DMes_->setValue(stored.strict(L"DMes", std::int16_t{1}));
  UltimaCopia_->setText(stored.asStored(L"UltimaCopia"));
  Destino_->setText(stored.strictText(L"Destino", L"C:\\"));
  setText(Backup_Estado, stored.asStored(L"Estado"));
  setChecked(Backup_EDir, stored.isSet(L"EDir"));
  setChecked(Backup_Cerrar, stored.isSet(L"Cerrar"));
  TCopias_->setValue(stored.plain(L"NCopias", std::int16_t{0}));
  checkFlags(Backup_DSem0, kWeekdays, stored.strictText(L"DSem", std::wstring(kWeekdays, L'N')));
  checkFlags(Backup_Mes0, kMonths, stored.strictText(L"Meses", std::wstring(kMonths, L'N')));
  stored.throwFirstError();
  saveAndRecompute();
}

// Throws 9 for a mode that there is no option for.
void Backup::selectMode(std::int32_t mode) {
  for (int i = 0; i < kModes; ++i) {  // the focus alone shall not choose
    SendMessageW(control(Backup_Copia0 + i), BM_SETDONTCLICK, TRUE, 0);
  }
  if (mode < 0 || mode >= kModes) throw AutomationError(kSubscriptOutOfRange, L"Copia");
  CheckRadioButton(window(), Backup_Copia0, Backup_Copia2, Backup_Copia0 + mode);
}

void Backup::saveAndRecompute() {
  settings_.write(L"Copia", mode());
  settings_.write(L"Programar", Programar_->Text());
  settings_.write(L"HoraInicio", HoraInicio_->Text());
  settings_.write(L"DDias", DDias_->Value());
  settings_.write(L"DSemanas", DSemanas_->Value());
  settings_.write(L"DMes", DMes_->Value());
  settings_.write(L"ProximaCopia", PCopia_->Text());
  settings_.write(L"Destino", Destino_->Value());
  settings_.write(L"DSem", flags(Backup_DSem0, kWeekdays));
  settings_.write(L"Meses", flags(Backup_Mes0, kMonths));
  CalcularProximaCopia(settings_, platform().clock, platform().locale);
  PCopia_->setText(platform().locale.toText(settings_.read(L"ProximaCopia")));
}

// The display follows the controls even when the settings or the schedule refuse: a value that is in the way must be
// there to be corrected.
void Backup::saveThenRefresh() {
  try {
    saveAndRecompute();
  } catch (const AutomationError&) {
    refresh();
    throw;
  }
  refresh();
}

std::uint8_t Backup::mode() const {
  for (std::uint8_t i = 0; i < kModes; ++i) {
    if (isChecked(Backup_Copia0 + i)) return i;
  }
  return 0;
}

// Where scheduled backups go but for the backup folder. As long as the host has not asked for it, what it would have
// been told.
std::wstring Backup::destinationState() const {
  if (!host().destination.empty()) return host().destination;
  if (!ownDestination_.empty()) return ownDestination_;
  return platform().locale.toText(settings_.readStrict(L"Destino", L"C:\\"));
}

std::wstring Backup::flags(int firstId, int count) const {
  std::wstring flags;
  for (int i = 0; i < count; ++i) flags += isChecked(firstId + i) ? L'S' : L'N';
  return flags;
}

void Backup::checkFlags(int firstId, int count, const std::wstring& flags) const {
  for (int i = 0; i < count; ++i) {
    const auto place = static_cast<std::size_t>(i);
    setChecked(firstId + i, place < flags.size() && flags[place] == L'S');
  }
}

bool Backup::isChecked(int id) const {
  return IsDlgButtonChecked(window(), id) == BST_CHECKED;
}

void Backup::setChecked(int id, bool checked) const {
  CheckDlgButton(window(), id, checked ? BST_CHECKED : BST_UNCHECKED);
}

// ---------------------------------------------------------------------------------------------------------------------
// What is shown and can be used

void Backup::refresh() {
  setCaption(Backup_TextoProg, mode() == 1 ? kAutomaticText : kManualText);
  setUsable(*Programar_, scheduled());
  setUsable(*HoraInicio_, scheduled());
  refreshDestination();
  show(Backup_EMaximo, mode() != 0);
  setUsable(*TCopias_, mode() != 0);
  show(Backup_Cerrar, scheduled());
  refreshSchedule();
  show(Backup_TextoProg, !scheduled());
  keepFocusVisible();
}

void Backup::refreshDestination() {
  const bool chosenHere = scheduled() && !isChecked(Backup_EDir);
  setUsable(*Destino_, chosenHere);
  EnableWindow(control(Backup_BCarpeta), chosenHere);
}

// The fields of one kind of schedule at the most; a kind that there is none of leaves those of the last one.
void Backup::refreshSchedule() {
  const std::wstring kind = Programar_->Text();
  const bool daily = scheduled() && kind == L"Diariamente";
  const bool weekly = scheduled() && kind == L"Semanalmente";
  const bool monthly = scheduled() && kind == L"Mensualmente";
  if (scheduled() && !daily && !weekly && !monthly) return;
  setCaption(Backup_Edias, isOne(*DDias_) ? L"día" : L"días");
  setCaption(Backup_ESemanas, isOne(*DSemanas_) ? L"semana los días" : L"semanas los días");
  show(Backup_ECada, daily || weekly);
  for (const int id : {Backup_DDias, Backup_Edias}) show(id, daily);
  for (const int id : {Backup_DSemanas, Backup_ESemanas}) show(id, weekly);
  for (int i = 0; i < kWeekdays; ++i) show(Backup_DSem0 + i, weekly);
  for (const int id : {Backup_Edia, Backup_DMes, Backup_EMes}) show(id, monthly);
  for (int i = 0; i < kMonths; ++i) show(Backup_Mes0 + i, monthly);
}

void Backup::show(int id, bool visible) const {
  const bool shown = (GetWindowLongPtrW(control(id), GWL_STYLE) & WS_VISIBLE) != 0;
  if (visible != shown) ShowWindow(control(id), visible ? SW_SHOWNA : SW_HIDE);
}

// What has not changed is not painted again.
void Backup::setCaption(int id, const std::wstring& caption) const {
  if (textOf(control(id)) != caption) setText(id, caption);
}

void Backup::setUsable(EntryControl& field, bool usable) {
  if (field.Enabled() != usable) field.setEnabled(usable);
}

// A field that the user was on may have gone.
void Backup::keepFocusVisible() const {
  const HWND focus = GetFocus();
  const bool lost = focus && IsChild(window(), focus) && IsWindowVisible(window()) && !IsWindowVisible(focus);
  if (lost) SendMessageW(window(), WM_NEXTDLGCTL, 0, FALSE);
}

// ---------------------------------------------------------------------------------------------------------------------
// Events

void Backup::command(int id) {
  if (loading_ == Loading::Filling) return;
  if (id >= Backup_Copia0 && id <= Backup_Copia2) Copia_Click();
  const bool dayOrMonth = (id >= Backup_DSem0 && id <= Backup_DSem6) || (id >= Backup_Mes0 && id <= Backup_Mes11);
  if (dayOrMonth) saveAndRecompute();
  switch (id) {
    case Backup_BCarpeta: BCarpeta_Click(); break;
    case Backup_EDir: EDir_Click(); break;
    case Backup_Cerrar: Cerrar_Click(); break;
    case Backup_BSalir: BSalir_Click(); break;
    default: break;
  }
}

void Backup::Copia_Click() {
  settings_.write(L"Copia", mode());
  refresh();
  saveAndRecompute();
}

void Backup::HoraInicio_AfterUpdate() {
  const std::wstring entry = HoraInicio_->Text();
  if (!platform().locale.isDate(entry)) return;
  HoraInicio_->setText(timeText(platform().locale.dateFromText(entry)));
  saveAndRecompute();
}

void Backup::Destino_AfterUpdate() {
  settings_.write(L"Destino", Destino_->Value());
}

void Backup::BCarpeta_Click() {
  const auto folder =
      platform().folderChooser.choose(L"Elija una carpeta donde guardar las copias programadas", Destino_->Text());
  if (!folder) return;
  Destino_->setText(*folder);
  Destino_AfterUpdate();
}

void Backup::EDir_Click() {
  const bool usesBackupFolder = isChecked(Backup_EDir);
  if (usesBackupFolder) ownDestination_ = Destino_->Text();
  Destino_->setText(usesBackupFolder ? host().backupFolder : destinationState());
  refreshDestination();
  settings_.write(L"Destino", Destino_->Value());
  settings_.write(L"EDir", static_cast<std::int16_t>(usesBackupFolder));
}

void Backup::Cerrar_Click() {
  settings_.write(L"Cerrar", static_cast<std::int16_t>(isChecked(Backup_Cerrar)));
  refresh();
  saveAndRecompute();
}

void Backup::TCopias_AfterUpdate(bool& cancel) {
  const std::wstring entry = TCopias_->Text();
  if (!isNumeric(platform().locale, entry)) {
    tell(L"El valor introducido debe de ser un número", message::kOk | message::kInformation);
    cancel = true;  // which also gives the focus back
    return;
  }
  settings_.write(L"NCopias", entry);
  refresh();
  saveAndRecompute();
}

// Its key can be pressed from within a field, which has an entry to validate then.
void Backup::BSalir_Click() {
  SendMessageW(window(), WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(control(Backup_BSalir)), TRUE);
  if (EntryControl::settleAll(window())) closeForm();
}

}  // namespace qev
