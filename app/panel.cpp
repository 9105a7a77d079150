// panel.cpp — the side panel: frame, tab bar, scrolling, and the six tabs.
//
// Index
//   [SECTION] Content tables   tab labels and the field sliders
//   [SECTION] Edits            how a widget's edit reaches the record
//   [SECTION] Tab "Создать"
//   [SECTION] Tab "Форма"
//   [SECTION] Tab "Цвет"
//   [SECTION] Tab "Движение"
//   [SECTION] Tab "Рендер"
//   [SECTION] Tab "Архив"
//   [SECTION] Panel frame      background, header, tabs, scroll, input
#include "app/panel.h"

#include "app/app_state.h"
#include "app/command_table.h"
#include "app/commands.h"
#include "app/film.h"
#include "model/assert.h"
#include "model/fields.h"
#include "model/tables.h"
#include "ui/ui_context.h"

#include <algorithm>
#include <cmath>
#include <iterator>

const WidgetRegistry& panelRegistry(const AppState& s) { return s.panel.widgets.registry; }

// [SECTION] Content tables

const std::vector<std::string>& tabLabels() {
  static const std::vector<std::string> labels = {"Создать", "Форма", "Цвет", "Движение", "Рендер", "Архив"};
  return labels;
}

namespace {

FieldSlider fieldSlider(const NumberField& f, const FractalType& row) {
  double lo, hi;
  sliderEnds(f, row, lo, hi);
  return {f.label, f.field, {lo, hi, f.slider.decimals, f.slider.unit, f.slider.logarithmic, nullptr}};
}

}  // namespace

std::vector<FieldSlider> shapeSliders(const FractalParams& p) {
  const FractalType& row = fractalTypes()[typeIndex(p.type)];
  std::vector<FieldSlider> out;
  for (const NumberField& f : numberFields())
    if (f.group == FieldGroup::Shape && f.label && (row.flags & f.types)) out.push_back(fieldSlider(f, row));
  return out;
}

SliderSpec linkSpec(int formula) {
  const HybridFormula& f = hybridFormulas()[std::clamp(formula, 0, 5)];
  return {f.kMin, f.kMax, 3, "", false, nullptr};
}

namespace {

// [SECTION] Edits

void applyEdit(AppState& s, Edit e) {
  if (e == Edit::Changing) recordEdited(s, false);
  else if (e == Edit::Finished) recordEdited(s, true);
}

void recordSlider(AppState& s, WidgetState& w, const std::string& text, double& value, const SliderSpec& spec,
                  const std::string& tip = "") {
  applyEdit(s, slider(w, text, value, spec, tip));
}

// A slider of the record's field as its row in the field table has it.
void recordField(AppState& s, WidgetState& w, double FractalParams::*field) {
  const NumberField* row = findField(field);
  QTX_ASSERT(row && row->label, "give the field a row with a label in model/fields.cpp");
  if (!row || !row->label) return;
  const FieldSlider f = fieldSlider(*row, fractalTypes()[typeIndex(s.params.type)]);
  recordSlider(s, w, f.label, s.params.*field, f.spec);
}

void recordToggle(AppState& s, WidgetState& w, const std::string& text, bool& value) {
  if (toggle(w, text, value)) recordEdited(s, true);
}

// Integer settings edited on a double slider.
template <typename Int>
void intSlider(AppState& s, WidgetState& w, const std::string& text, Int& value, const SliderSpec& spec) {
  double v = double(value);
  Edit e = slider(w, text, v, spec);
  value = Int(std::lround(v));
  applyEdit(s, e);
}

void colour(AppState& s, WidgetState& w, const std::string& text, std::string& value) {
  if (colourField(w, text, value) == Edit::Finished) recordEdited(s, true);
}

// [SECTION] Tab "Создать"

// "Недавние сиды", in the "Создать" and "Архив" tabs.
void recentSeeds(AppState& s, WidgetState& w) {
  label(w, "Недавние сиды", true);
  if (s.history.recent.empty()) label(w, "пока пусто");
  // Applied after the loop: applying one reorders the list.
  const FractalType* chosenType = nullptr;
  std::string chosenSeed;
  for (const RecentSeed& r : s.history.recent) {
    const FractalType& row = fractalTypes()[typeIndex(r.type)];
    if (button(w, r.seed + " · " + row.name)) chosenType = &row, chosenSeed = r.seed;
  }
  if (chosenType) {
    s.params.type = chosenType->key;
    applySeed(s, chosenSeed);
  }
}

void tabCreate(AppState& s, WidgetState& w) {
  std::string seed = s.params.seed;
  if (textField(w, "Сид", seed, "любой текст") == Edit::Finished) applySeed(s, seed);
  if (button(w, "Случайный", commandKeys(CommandId::RandomSeed) + "; с Shift — и случайный тип")) randomSeed(s, w.in.shiftHeld);
  if (button(w, "Мутант", commandKeys(CommandId::Mutate))) mutateCurrent(s);
  double strength = s.settings.mutation;
  if (slider(w, "Сила мутаций", strength, {0, 1, 2, "", false, nullptr}) != Edit::None)
    s.settings.mutation = strength;
  if (button(w, "Скрестить…", "второй пресет или PNG; потомок станет текущим")) crossbreedFlow(s);
  gap(w, 6);
  recentSeeds(s, w);
}

// [SECTION] Tab "Форма"

// The label lists of the pills below are the tables' names, built once.
const std::vector<std::string>& typeNames() {
  static const std::vector<std::string> names = [] {
    std::vector<std::string> v;
    for (const FractalType& t : fractalTypes()) v.push_back(t.name);
    return v;
  }();
  return names;
}

void chainEditor(AppState& s, WidgetState& w) {
  static const std::vector<std::string> formulas = [] {
    std::vector<std::string> v;
    for (const HybridFormula& f : hybridFormulas()) v.push_back(f.name);
    return v;
  }();
  PanelState& p = s.panel;
  if (!section(w, "Цепочка формул", p.chainOpen)) return;
  for (size_t i = 0; i < s.params.slots.size(); ++i) {
    FormulaSlot& slot = s.params.slots[i];
    std::string n = "Звено " + std::to_string(i + 1);
    label(w, n);
    int f = slot.f;
    // Each link's pills carry its number, so the registry tells them apart.
    if (pills(w, formulas, f, 3, "pl:" + n + ": ")) {
      slot.f = f;
      SliderSpec k = linkSpec(f);
      slot.k = std::clamp(slot.k, k.lo, k.hi);
      recordEdited(s, true);
    }
    const char* kLabel = slot.f <= 1 ? "степень" : "масштаб";
    recordSlider(s, w, n + ": " + kLabel, slot.k, linkSpec(slot.f));
    if (s.params.slots.size() > 1 && button(w, "Убрать звено " + std::to_string(i + 1))) {
      s.params.slots.erase(s.params.slots.begin() + long(i));
      recordEdited(s, true);
      return;  // the rest of the chain moved; it is drawn next frame
    }
  }
  if (s.params.slots.size() < 4 && button(w, "Добавить звено")) {
    s.params.slots.push_back({0, 8});
    recordEdited(s, true);
  }
}

void tabShape(AppState& s, WidgetState& w) {
  label(w, "Тип фрактала", true);
  int row = typeIndex(s.params.type);
  if (pills(w, typeNames(), row, 2)) selectType(s, row);
  if (button(w, "Классика", "исходные значения формы этого типа")) {
    FractalParams d = defaultsForType(s.params.type);
    FractalParams& p = s.params;
    p.iter = d.iter, p.power = d.power, p.scale = d.scale;
    p.jx = d.jx, p.jy = d.jy, p.jz = d.jz, p.jw = d.jw;
    p.ox = d.ox, p.oy = d.oy, p.oz = d.oz, p.rx = d.rx, p.ry = d.ry, p.rz = d.rz;
    p.warp = d.warp, p.slots = d.slots, p.jmode = d.jmode;
    recordEdited(s, true);
    requestFit(s);
  }
  gap(w, 4);
  label(w, "Форма", true);
  for (const FieldSlider& f : shapeSliders(s.params)) recordSlider(s, w, f.label, s.params.*f.field, f.spec);
  const FractalType& t = fractalTypes()[typeIndex(s.params.type)];
  if (t.flags & kFlagJMode) {
    label(w, "Константа входит как");
    int mode = std::clamp(int(s.params.jmode), 0, 2);
    static const std::vector<std::string> modes = {"точка (Мандельброт)", "константа (Жюлиа)", "точка + константа"};
    if (pills(w, modes, mode, 1)) {
      s.params.jmode = mode;
      recordEdited(s, true);
    }
  }
  if (t.flags & kFlagSlots) chainEditor(s, w);
}

// [SECTION] Tab "Цвет"

void tabColour(AppState& s, WidgetState& w) {
  PanelState& ps = s.panel;
  FractalParams& p = s.params;
  label(w, "Палитра", true);
  static const std::vector<std::string> names = [] {
    std::vector<std::string> v;
    for (const Palette& pal : palettes()) v.push_back(pal.name);
    return v;
  }();
  int pal = paletteIndex(p.palette);
  if (pills(w, names, pal, 3)) {
    p.palette = palettes()[pal].key;
    recordEdited(s, true);
  }
  if (p.palette == "custom") {
    colour(s, w, "Свой: цвет 1", p.customA);
    colour(s, w, "Свой: цвет 2", p.customB);
    colour(s, w, "Свой: цвет 3", p.customC);
  }
  recordField(s, w, &FractalParams::colShift);
  recordField(s, w, &FractalParams::colScale);
  // A display effect like live mode: the record keeps its colours, and
  // switching off shows them as stored again.
  if (toggle(w, "Анимация палитры", s.paletteAnim.on, "цвета бегут по форме") && !s.paletteAnim.on)
    s.paletteAnim.phase = 0;
  if (s.paletteAnim.on)
    slider(w, "Скорость анимации", s.paletteAnim.speed, {0.01, 1, 2, "", true, nullptr}, "длин палитры в секунду");
  if (section(w, "Свет", ps.lightOpen)) {
    recordField(s, w, &FractalParams::lightYaw);
    recordField(s, w, &FractalParams::lightPitch);
    recordField(s, w, &FractalParams::light);
    recordField(s, w, &FractalParams::ambient);
    recordField(s, w, &FractalParams::spec);
    recordField(s, w, &FractalParams::shadowSoft);
  }
  if (section(w, "Материал и воздух", ps.postOpen)) {
    recordField(s, w, &FractalParams::metal);
    recordField(s, w, &FractalParams::irid);
    recordField(s, w, &FractalParams::glow);
    colour(s, w, "Цвет свечения", p.glowColor);
    recordField(s, w, &FractalParams::fog);
    recordField(s, w, &FractalParams::exposure);
    recordField(s, w, &FractalParams::bloom);
    recordField(s, w, &FractalParams::vignette);
    colour(s, w, "Фон сверху", p.bgTop);
    colour(s, w, "Фон снизу", p.bgBot);
  }
}

// [SECTION] Tab "Движение"

void tabMotion(AppState& s, WidgetState& w) {
  PanelState& ps = s.panel;
  label(w, "Полёт", true);
  double rot = s.camera.rotationSpeed;
  if (slider(w, "Вращение °/с", rot, {-60, 60, 0, "", false, nullptr}, commandKeys(CommandId::Rotation)) != Edit::None)
    s.camera.rotationSpeed = rot;
  bool flying = s.camera.flying;
  if (toggle(w, "Свободный полёт (WASD)", flying, commandKeys(CommandId::Flight))) toggleFlight(s);
  double speed = s.camera.flightSpeed;
  if (slider(w, "Скорость полёта", speed, {0.02, 20, 2, "×", true, nullptr}) != Edit::None)
    s.camera.flightSpeed = speed;
  if (button(w, "Вписать в кадр")) requestFit(s);
  if (button(w, "Вернуть камеру", commandKeys(CommandId::ReturnCamera))) returnCamera(s);
  gap(w, 4);
  label(w, "Погружение", true);
  bool diving = s.dive.on;
  if (toggle(w, "Погружение", diving, commandKeys(CommandId::Dive))) toggleDive(s);
  double dive = s.settings.diveSpeed;
  if (slider(w, "Скорость", dive, {0.05, 2, 2, "", false, nullptr}) != Edit::None) s.settings.diveSpeed = dive;
  toggle(w, "Новый сид после всплытия", s.dive.newSeedAfterSurfacing);
  if (s.dive.newSeedAfterSurfacing) toggle(w, "и случайный тип", s.dive.randomType);
  gap(w, 4);
  label(w, "Живой режим", true);
  bool live = s.live.on;
  if (toggle(w, "Живой режим", live, commandKeys(CommandId::Live))) toggleLive(s);
  label(w, "Форма, складки и цвет медленно перетекают. L.");
  slider(w, "Сила живого режима", s.live.amount, {0, 1.5, 2, "", false, nullptr});
  slider(w, "Темп живого режима", s.live.speed, {0.1, 4, 2, "×", false, nullptr});
  gap(w, 4);
  label(w, "Запись", true);
  bool recording = s.recorder.on;
  if (toggle(w, "Записать путь", recording, commandKeys(CommandId::Record))) toggleRecording(s);
  gap(w, 4);
  if (!section(w, "Объектив", ps.lensOpen)) return;
  recordField(s, w, &FractalParams::fov);
  recordField(s, w, &FractalParams::aperture);
  recordToggle(s, w, "Автофокус", s.params.autoFocus);
  if (!s.params.autoFocus) recordField(s, w, &FractalParams::focus);
  toggle(w, "Фокус закреплён", s.focusLocked, "двойной клик не переводит фокус");
}

// [SECTION] Tab "Рендер"

struct PhotoSize {
  const char* label;
  int w, h;  // 0: the window's size
};
constexpr PhotoSize kPhotoSizes[] = {
    {"Как на экране", 0, 0},      {"1920×1080", 1920, 1080},      {"2560×1440", 2560, 1440},
    {"3840×2160 (4K)", 3840, 2160}, {"7680×4320 (8K)", 7680, 4320}, {"4096×4096", 4096, 4096},
};
constexpr int kPhotoSamples[] = {32, 64, 128, 256, 512, 1024};
const char* const kPhotoSampleLabels[] = {"32 сэмпла",   "64 сэмпла",   "128 сэмплов",
                                          "256 сэмплов", "512 сэмплов", "1024 сэмпла"};

struct PhotoChoice {
  int w, h, samples;
};

constexpr PhotoSize kFilmSizes[] = {{"1280×720", 1280, 720}, {"1920×1080", 1920, 1080}, {"3840×2160 (4K)", 3840, 2160}};
constexpr int kFilmFps[] = {24, 30, 60};
constexpr int kFilmSamples[] = {4, 16, 64, 256};

struct FilmChoice {
  int w, h, fps, samples;
  double seconds;
};

// The "Видео" section's choices, as the settings remember them.
FilmChoice filmChoice(const AppSettings& q) {
  const PhotoSize& size = kFilmSizes[std::clamp(int(q.filmSize), 0, int(std::size(kFilmSizes)) - 1)];
  return {size.w, size.h, kFilmFps[std::clamp(int(q.filmFps), 0, int(std::size(kFilmFps)) - 1)],
          kFilmSamples[std::clamp(int(q.filmSamples), 0, int(std::size(kFilmSamples)) - 1)], q.filmSeconds};
}

// The "Видео" section: what will be filmed, its size, rate and samples, and the button.
void filmSection(AppState& s, WidgetState& w) {
  AppSettings& q = s.settings;
  label(w, "Видео", true);
  label(w, hasRecordedPath(s) ? "Путь: записанный, " + std::to_string(s.recorder.path.frames.size()) + " кадров"
                              : std::string("Погружение от текущего вида"));
  double seconds = q.filmSeconds;
  if (slider(w, "Длительность", seconds, {1, 120, 0, " с", false, nullptr}) != Edit::None) q.filmSeconds = seconds;
  static const std::vector<std::string> rates = {"24 кадра/с", "30 кадров/с", "60 кадров/с"};
  static const std::vector<std::string> sizes = [] {
    std::vector<std::string> v;
    for (const PhotoSize& p : kFilmSizes) v.push_back(p.label);
    return v;
  }();
  static const std::vector<std::string> samples = {"4 сэмпла", "16 сэмплов", "64 сэмпла", "256 сэмплов"};
  // The pills' ids carry the section, as the photo's sizes share labels with them.
  int rate = std::clamp(int(q.filmFps), 0, 2), size = std::clamp(int(q.filmSize), 0, 2);
  int count = std::clamp(int(q.filmSamples), 0, 3);
  if (pills(w, rates, rate, 3, "pl:Видео: ")) q.filmFps = rate;
  if (pills(w, sizes, size, 2, "pl:Видео: ")) q.filmSize = size;
  if (pills(w, samples, count, 2, "pl:Видео: ")) q.filmSamples = count;
  if (button(w, "Снять видео…", "кадры рисуются как снимки; Esc — отмена")) {
    FilmChoice c = filmChoice(q);
    s.afterFrame = [c](AppState& st) { filmFlow(st, c.w, c.h, c.fps, c.samples, c.seconds); };
  }
}

// The Render tab's size and samples; "Как на экране" is the client's size.
PhotoChoice photoChoice(const AppSettings& q, int width, int height) {
  const PhotoSize& size = kPhotoSizes[std::clamp(int(q.photoSize), 0, int(std::size(kPhotoSizes)) - 1)];
  int samples = kPhotoSamples[std::clamp(int(q.photoSamples), 0, int(std::size(kPhotoSamples)) - 1)];
  return {size.w ? size.w : width, size.w ? size.h : height, samples};
}

void tabRender(AppState& s, WidgetState& w, int width, int height) {
  AppSettings& q = s.settings;
  recordSlider(s, w, "Разрешение", q.resScale, {0, 2, 2, "×", false, "авто"}, "0 — подбирается само");
  intSlider(s, w, "Сэмплов", q.samples, {1, 4096, 0, "", true, nullptr});
  intSlider(s, w, "Шагов луча", q.maxSteps, {32, 2000, 0, "", true, nullptr});
  recordSlider(s, w, "Детализация", q.precision, {0.25, 4, 2, "", true, nullptr}, "допуск поверхности в пикселях");
  label(w, "Режим fp64");
  int deep = std::clamp(int(q.deep), 0, 2);
  static const std::vector<std::string> deepModes = {"Авто", "Никогда", "Всегда"};
  if (pills(w, deepModes, deep, 3)) {
    q.deep = deep;
    recordEdited(s, true);
  }
  recordToggle(s, w, "Мягкие тени", q.shadows);
  recordToggle(s, w, "Затенение в складках", q.ao);
  recordToggle(s, w, "Снижать разрешение в движении", q.adaptive);
  recordToggle(s, w, "Итерации растут с зумом", q.autoIter);
  recordToggle(s, w, "Ускоряющий проход глубины", q.prepass);
  recordToggle(s, w, "Фоторендер: глобальное освещение", q.gi);
  if (toggle(w, "Вертикальная синхронизация", q.vsync)) applyVsync(s);
  gap(w, 6);
  label(w, "Фото", true);
  label(w, "Размер");
  static const std::vector<std::string> sizes = [] {
    std::vector<std::string> v;
    for (const PhotoSize& p : kPhotoSizes) v.push_back(p.label);
    return v;
  }();
  static const std::vector<std::string> samples(std::begin(kPhotoSampleLabels), std::end(kPhotoSampleLabels));
  // Remembered in the settings file, like the quality choices above.
  int size = q.photoSize, count = q.photoSamples;
  if (pills(w, sizes, size, 2)) q.photoSize = size;
  if (pills(w, samples, count, 3)) q.photoSamples = count;
  if (button(w, "Сделать снимок PNG", commandKeys(CommandId::Photo))) {
    PhotoChoice c = photoChoice(s.settings, width, height);
    s.afterFrame = [c](AppState& st) { photoFlow(st, c.w, c.h, c.samples); };
  }
  gap(w, 6);
  filmSection(s, w);
}

// [SECTION] Tab "Архив"

void tabArchive(AppState& s, WidgetState& w, int width, int height) {
  PanelState& ps = s.panel;
  if (button(w, "Сохранить", commandKeys(CommandId::SavePreset))) savePresetFlow(s);
  if (button(w, "Открыть", commandKeys(CommandId::OpenFile))) openFileFlow(s);
  if (button(w, "Отменить", commandKeys(CommandId::Undo))) undo(s);
  if (button(w, "Повторить", commandKeys(CommandId::Redo))) redo(s);
  gap(w, 6);
  label(w, "Без окна выбора файла", true);
  // A press on one of the field's buttons ends its edit; the button acts on
  // what was typed, Enter or not.
  const bool editEnded = w.focusLostTo == "tx:Путь к файлу";
  const std::string typed = editEnded ? editText(w.edit) : std::string();
  textField(w, "Путь к файлу", ps.pathText, "~/fractal.json или .png");
  auto path = [&]() -> const std::string& {
    if (editEnded) ps.pathText = typed;
    return ps.pathText;
  };
  if (button(w, "Сохранить в этот файл")) savePresetTo(s, path());
  if (button(w, "Открыть этот файл")) openPath(s, path());
  if (button(w, "Скрестить с этим файлом", "потомок текущего фрактала и этого файла")) crossbreedWith(s, path());
  if (button(w, "Снимок PNG в этот файл", "размер и сэмплы — как на вкладке «Рендер»")) {
    PhotoChoice c = photoChoice(s.settings, width, height);
    s.afterFrame = [c, file = path()](AppState& st) { photoTo(st, file, c.w, c.h, c.samples); };
  }
  if (button(w, "Видео в этот файл", "параметры — как в разделе «Видео» вкладки «Рендер»")) {
    FilmChoice c = filmChoice(s.settings);
    s.afterFrame = [c, file = path()](AppState& st) { filmTo(st, file, c.w, c.h, c.fps, c.samples, c.seconds); };
  }
  gap(w, 6);
  recentSeeds(s, w);
}

// [SECTION] Panel frame

WidgetInput widgetInput(const InputState& in) {
  WidgetInput wi;
  wi.mouseX = in.mouseX, wi.mouseY = in.mouseY;
  wi.mouseDown = in.mouseDown, wi.mousePressed = in.mousePressed;
  wi.mouseReleased = in.mouseReleased, wi.doubleClicked = in.doubleClicked;
  wi.shiftHeld = in.shiftHeld;
  wi.keys.typed = in.typedChars;
  wi.keys.backspace = in.keyBackspace, wi.keys.enter = in.keyEnter;
  wi.keys.escape = in.keyEscape, wi.keys.paste = in.keyPaste;
  // The clipboard text stays in the input after its Ctrl+V; the widgets read
  // it only in that frame.
  if (in.keyPaste) wi.keys.pasteText = in.pasteText;
  return wi;
}

void drawBackground(UiContext& ui, float x0, float width) {
  addRect(ui, x0, 0, width, 1e5f, (ui.theme.background & 0x00ffffff) | 0xf0000000);
  addRect(ui, x0, 0, std::max(1.0f, scaled(ui, 1)), 1e5f, ui.theme.border);
}

float headerHeight(const UiContext& ui, float pad) {
  return pad * 0.75f + lineHeight(ui, kFontHeading) + scaled(ui, 2) + lineHeight(ui, kFontSmall) + scaled(ui, 10);
}

// The title and the current seed with its type's name. Drawn after the tabs,
// so that it names what a click of this frame just made current.
void drawHeader(const AppState& s, UiContext& ui, float x0, float width, float pad) {
  float y = pad * 0.75f;
  addText(ui, kFontHeading, x0 + pad, y, "Quorvan Telix 3D", ui.theme.accent, width - 2 * pad);
  y += lineHeight(ui, kFontHeading) + scaled(ui, 2);
  const FractalType& t = fractalTypes()[typeIndex(s.params.type)];
  addText(ui, kFontSmall, x0 + pad, y, s.params.seed + " · " + t.name, ui.theme.textDim, width - 2 * pad);
}

void drawTab(AppState& s, WidgetState& w, int width, int height) {
  switch (s.activeTab) {
    case 0: tabCreate(s, w); break;
    case 1: tabShape(s, w); break;
    case 2: tabColour(s, w); break;
    case 3: tabMotion(s, w); break;
    case 4: tabRender(s, w, width, height); break;
    default: tabArchive(s, w, width, height); break;
  }
}

// A thin bar at the panel's edge says how much is scrolled away.
void drawScrollbar(UiContext& ui, float x1, float top, float viewH, float contentH, float scroll) {
  if (contentH <= viewH || viewH <= 0) return;
  float w = scaled(ui, 3);
  float h = std::max(scaled(ui, 24), viewH * viewH / contentH);
  float y = top + (viewH - h) * scroll / (contentH - viewH);
  addRoundRect(ui, x1 - w - scaled(ui, 4), y, w, h, w * 0.5f, ui.theme.muted);
}

}  // namespace

void drawPanel(AppState& s, UiContext& ui, int width, int height) {
  PanelState& ps = s.panel;
  WidgetState& w = ps.widgets;
  int left = panelLeftEdge(s, width);
  if (s.uiHidden || isScreenSaver(s.mode)) {
    clearRegistry(w.registry);
    w.active.clear();
    w.focus.clear();
    s.input.uiWantsMouse = false;
    s.input.textFocus = false;
    return;
  }
  float pad = scaled(ui, 18);
  float x0 = float(left), pw = float(width - left);
  drawBackground(ui, x0, pw);
  float y = headerHeight(ui, pad);

  WidgetLayout lay{x0 + pad, float(width) - pad, y, 0, float(height), float(ui.scale)};
  beginWidgets(w, &ui, widgetInput(s.input), lay);
  int tab = std::clamp(s.activeTab, 0, kTabCount - 1);
  if (pills(w, tabLabels(), tab, 3, "tab:")) {
    s.activeTab = tab;
    s.input.panelScroll = 0;
  }
  float top = w.lay.y + scaled(ui, 4);
  float viewH = float(height) - top - scaled(ui, 8);
  pushClip(ui, x0, top, pw, std::max(0.0f, viewH));
  w.lay.clipY0 = top;
  w.lay.clipY1 = top + viewH;
  w.lay.y = top - s.input.panelScroll;
  drawTab(s, w, width, height);
  float contentH = w.lay.y + s.input.panelScroll - top;
  popClip(ui);
  float maxScroll = std::max(0.0f, contentH - viewH);
  s.input.panelScroll = std::clamp(s.input.panelScroll, 0.0f, maxScroll);
  drawScrollbar(ui, float(width), top, viewH, contentH, s.input.panelScroll);
  drawHeader(s, ui, x0, pw, pad);
  endWidgets(w);
  bool overPanelNow = s.input.mouseX >= x0;
  s.input.uiWantsMouse = w.wantsMouse || (overPanelNow && s.input.mouseDown && !s.input.dragging);
  s.input.textFocus = !w.focus.empty();
}
