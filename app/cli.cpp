// The command line: switches of the classic program, the screen-saver
// switches, and the conveniences (positional file, --size, --print-preset).
#include "app/launch.h"

#include "io/files.h"
#include "io/json.h"
#include "io/poster_part.h"
#include "io/preset.h"
#include "model/decimal.h"
#include "model/ranges.h"
#include "model/seed.h"
#include "model/tables.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

// [SECTION] Values

struct ArgCursor {
  const std::vector<std::string>& args;
  size_t index;
  LaunchOptions& o;
};

void problem(ArgCursor& c, std::string line) { c.o.problems.push_back(std::move(line)); }

std::string lowerAscii(std::string s) {
  for (char& ch : s)
    if (ch >= 'A' && ch <= 'Z') ch = static_cast<char>(ch - 'A' + 'a');
  return s;
}

// The argument after the option, advancing past it. There is none when the
// line ends or the next word is itself an option ("--shot --seed x" must not
// write a file called "--seed").
bool takeValue(ArgCursor& c, const std::string& option, std::string& value) {
  if (c.index + 1 >= c.args.size() || c.args[c.index + 1].rfind("--", 0) == 0) {
    problem(c, "у параметра " + option + " нет значения");
    return false;
  }
  value = c.args[++c.index];
  return true;
}

// A decimal number in the "C" locale, the whole text and nothing else: no
// hex, no "nan" or "inf", no trailing letters.
bool parseNumber(const std::string& text, double& out) {
  if (text.empty() || text.find_first_not_of("0123456789+-.eE") != std::string::npos) return false;
  return readDecimal(text, out) == text.size() && std::isfinite(out);
}

std::string rangeText(const ValueRange& r) {
  char buf[96];
  std::snprintf(buf, sizeof buf, "%s от %g до %g", r.whole ? "целое число" : "число", r.lo, r.hi);
  return buf;
}

// A number option checked against `range`.
bool rangedValue(ArgCursor& c, const std::string& option, const ValueRange& range, double& out) {
  std::string text;
  if (!takeValue(c, option, text)) return false;
  double v = 0;
  if (!parseNumber(text, v) || !inRange(v, range)) {
    problem(c, "неверное значение " + option + ": \"" + text + "\" (нужно " + rangeText(range) + ")");
    return false;
  }
  out = v;
  return true;
}

// A number option checked against its row of the range table.
bool numberValue(ArgCursor& c, const std::string& option, const char* rangeKey, double& out) {
  return rangedValue(c, option, *findRange(rangeKey), out);
}

bool intValue(ArgCursor& c, const std::string& option, const char* rangeKey, int32_t& out) {
  double v = 0;
  if (!numberValue(c, option, rangeKey, v)) return false;
  out = static_cast<int32_t>(v);
  return true;
}

bool parsePositive(const std::string& digits, int& out) {
  if (digits.empty() || digits.size() > 6) return false;
  out = 0;
  for (char ch : digits) {
    if (ch < '0' || ch > '9') return false;
    out = out * 10 + (ch - '0');
  }
  return out > 0;
}

// "WxH", both whole and positive.
bool parseSize(const std::string& text, int& width, int& height) {
  size_t x = lowerAscii(text).find('x');
  if (x == std::string::npos) return false;
  return parsePositive(text.substr(0, x), width) && parsePositive(text.substr(x + 1), height);
}

void sizeValue(ArgCursor& c, const std::string& option) {
  std::string value;
  if (!takeValue(c, option, value)) return;
  if (!parseSize(value, c.o.width, c.o.height)) {
    c.o.width = c.o.height = 0;
    problem(c, "неверный размер окна: \"" + value + "\" (нужно ШxВ, например 1280x720)");
  }
}

// A text value; the seed is mended to UTF-8, since it travels into files.
void textValue(ArgCursor& c, const std::string& option, std::string& out) {
  std::string value;
  if (takeValue(c, option, value)) out = repairUtf8(value);
}

// [SECTION] Switches

// The screen-saver host passes "/s", "/p…" and "/c…". On Linux a path starts
// with '/' too, so a slash form counts as a switch only when no further '/'
// follows: "/p:123" is the preview switch, "/cache/x.json" and "/s/x" are files.
bool isSlashSwitch(const std::string& lower, char letter) {
  return lower.size() >= 2 && lower[0] == '/' && lower[1] == letter &&
         lower.find('/', 1) == std::string::npos;
}

bool startsWithSwitch(const std::string& lower, char letter) {
  return isSlashSwitch(lower, letter) || (lower.size() >= 2 && lower[0] == '-' && lower[1] == letter);
}

bool isScreenSaverSwitch(const std::string& lower) {
  return lower == "/s" || lower == "-s" || startsWithSwitch(lower, 'p') || startsWithSwitch(lower, 'c');
}

// [SECTION] Film values

// The film options' own bounds (they are no record or settings values).
constexpr ValueRange kFpsRange{"fps", 1, 240, true};
constexpr ValueRange kDurationRange{"duration", 0.01, 86400, false};
constexpr ValueRange kShutterRange{"shutter", 0, 1, false};
constexpr ValueRange kRandomSeedRange{"random-seed", 0, 4294967295.0, true};


bool parseCount(const std::string& digits, int& out) {
  if (digits.empty() || digits.size() > 9 || digits.find_first_not_of("0123456789") != std::string::npos)
    return false;
  out = std::atoi(digits.c_str());
  return true;
}

// "A-B" with A ≤ B, or "K/N" with 1 ≤ K ≤ N.
bool parseFrameSelection(const std::string& text, FrameSelection& f) {
  size_t dash = text.find('-'), slash = text.find('/');
  FrameSelection out;
  out.given = true;
  if (dash != std::string::npos && slash == std::string::npos) {
    if (!parseCount(text.substr(0, dash), out.first) || !parseCount(text.substr(dash + 1), out.last) ||
        out.last < out.first)
      return false;
  } else if (slash != std::string::npos && dash == std::string::npos) {
    if (!parseCount(text.substr(0, slash), out.share) || !parseCount(text.substr(slash + 1), out.shares) ||
        out.share < 1 || out.share > out.shares)
      return false;
  } else {
    return false;
  }
  f = out;
  return true;
}

void framesValue(ArgCursor& c, const std::string& option) {
  std::string value;
  if (!takeValue(c, option, value)) return;
  if (!parseFrameSelection(value, c.o.frames))
    problem(c, "неверное значение " + option + ": \"" + value +
                   "\" (нужно A-B, номера кадров с нуля, или K/N, доля K из N)");
}

void filmNumber(ArgCursor& c, const std::string& lower, const std::string& option) {
  double v = 0;
  if (lower == "--fps" && rangedValue(c, option, kFpsRange, v)) c.o.fps = int32_t(v);
  else if (lower == "--duration" && rangedValue(c, option, kDurationRange, v)) c.o.duration = v;
  else if (lower == "--shutter" && rangedValue(c, option, kShutterRange, v)) c.o.shutter = v;
  else if (lower == "--random-seed" && rangedValue(c, option, kRandomSeedRange, v)) c.o.randomSeed = int64_t(v);
}

void shotValue(ArgCursor& c, const std::string& option) {
  c.o.shotAsked = true;
  std::string value;
  if (!takeValue(c, option, value)) return;
  if (value.empty()) problem(c, "у параметра " + option + " пустой путь");
  c.o.shot = value;
}

// "--thumbnail IN OUT SIZE", as a thumbnailer entry passes it (%i %o %s).
// Thumbnail caches use 128 to 1024 pixels; smaller is allowed for lists.
void thumbnailValues(ArgCursor& c, const std::string& option) {
  c.o.thumbnailAsked = true;
  std::string in, out, size;
  if (!takeValue(c, option, in) || !takeValue(c, option, out) || !takeValue(c, option, size)) return;
  int n = 0;
  if (!parsePositive(size, n) || n < 16 || n > 1024) {
    problem(c, "неверный размер миниатюры: \"" + size + "\" (нужно целое число от 16 до 1024)");
    return;
  }
  if (!c.o.file.empty() && c.o.file != in) problem(c, "лишний аргумент: " + in + " (файл уже задан: " + c.o.file + ")");
  c.o.file = in;
  c.o.thumbnail = out;
  c.o.thumbnailSize = n;
}

// --part K/N makes the shot a poster's part.
void partValue(ArgCursor& c, const std::string& option) {
  std::string value;
  if (!takeValue(c, option, value)) return;
  if (!parsePartSpec(value, c.o.partIndex, c.o.partCount)) {
    c.o.partIndex = c.o.partCount = 0;
    problem(c, "неверная часть " + option + ": \"" + value + "\" (нужно K/N, 1 ≤ K ≤ N)");
    return;
  }
  c.o.poster = true;
}

// --assemble OUT PART...: the parts are every word up to the next option.
void assembleValue(ArgCursor& c, const std::string& option) {
  if (!takeValue(c, option, c.o.assemble)) return;
  while (c.index + 1 < c.args.size() && c.args[c.index + 1].rfind("--", 0) != 0)
    c.o.assembleParts.push_back(c.args[++c.index]);
  if (c.o.assembleParts.empty()) problem(c, "у параметра " + option + " нет частей");
}

// Options that take a value; true when `lower` was one of them. A value that
// fails its check leaves the option's default and a problem line.
bool parseValueOption(const std::string& lower, ArgCursor& c, LaunchOptions& o) {
  const std::string& name = c.args[c.index];
  if (lower == "--shot") shotValue(c, name);
  else if (lower == "--seed") textValue(c, name, o.seed);
  else if (lower == "--type") textValue(c, name, o.type);
  else if (lower == "--tab") intValue(c, name, "tab", o.tab);
  else if (lower == "--dist") numberValue(c, name, "dist", o.dist);
  else if (lower == "--samples") intValue(c, name, "samples", o.samples);
  else if (lower == "--dive") numberValue(c, name, "dive", o.dive);
  else if (lower == "--dive-speed") numberValue(c, name, "diveSpeed", o.diveSpeed);
  else if (lower == "--dive-until") numberValue(c, name, "diveUntil", o.diveUntil);
  else if (lower == "-window-id" || lower == "--window-id") textValue(c, name, o.windowId);
  else if (lower == "--size") sizeValue(c, name);
  else if (lower == "--thumbnail") thumbnailValues(c, name);
  else if (lower == "--video") textValue(c, name, o.video);
  else if (lower == "--path") textValue(c, name, o.pathFile);
  else if (lower == "--from-frames") textValue(c, name, o.fromFrames);
  else if (lower == "--frames") framesValue(c, name);
  else if (lower == "--fps" || lower == "--duration" || lower == "--shutter" || lower == "--random-seed")
    filmNumber(c, lower, name);
  else if (lower == "--part") partValue(c, name);
  else if (lower == "--assemble") assembleValue(c, name);
  else return false;
  return true;
}

bool parseFlag(const std::string& lower, LaunchOptions& o) {
  if (lower == "--deep") o.deep = true;
  else if (lower == "--hide-ui") o.hideUi = true;
  else if (lower == "--input-test") o.inputTest = true;
  else if (lower == "--print-preset") o.printPreset = true;
  else if (lower == "--headless") o.headless = true;
  else if (lower == "-root" || lower == "--root") o.root = true;
  else if (lower == "--poster") o.poster = true;
  else if (lower == "--help" || lower == "-h") o.help = true;
  else if (lower == "--version") o.version = true;
  else return false;
  return true;
}

void parseScreenSaverSwitch(const std::string& lower, LaunchOptions& o) {
  if (lower == "/s" || lower == "-s") o.screensaver = true;
  else if (startsWithSwitch(lower, 'p')) o.preview = true;
  else o.configure = true;
}

}  // namespace

LaunchOptions parseCommandLine(const std::vector<std::string>& args) {
  LaunchOptions o;
  ArgCursor c{args, 1, o};
  for (; c.index < args.size(); ++c.index) {
    const std::string& arg = args[c.index];
    std::string lower = lowerAscii(arg);
    if (isScreenSaverSwitch(lower)) parseScreenSaverSwitch(lower, o);
    else if (parseValueOption(lower, c, o) || parseFlag(lower, o)) continue;
    else if (!arg.empty() && arg[0] == '-') problem(c, "неизвестный параметр: " + arg);
    else if (o.file.empty()) o.file = arg;
    else problem(c, "лишний аргумент: " + arg + " (файл уже задан: " + o.file + ")");
  }
  // Type keys are lower case; "Mandelbox" means mandelbox. An unknown key
  // keeps the seed generator's fallback, which the user is told about.
  if (!o.type.empty()) {
    o.type = lowerAscii(o.type);
    const int row = typeIndex(o.type);
    if (fractalTypes()[size_t(row)].key != o.type)
      o.warnings.push_back("неизвестный тип фрактала «" + o.type + "»: взят " + fractalTypes()[size_t(row)].key);
  }
  // A script that asked for a file must not get a different one; an
  // interactive start (a screen-saver host may pass switches of its own)
  // only warns.
  if (!o.problems.empty() && isUnattended(o)) o.error = o.problems.front();
  if (o.error.empty() && isFilm(o)) o.error = filmOptionsProblem(o);
  return o;
}

bool isUnattended(const LaunchOptions& o) {
  return o.shotAsked || o.printPreset || o.inputTest || o.thumbnailAsked || isFilm(o) || !o.assemble.empty() ||
         o.partCount > 0;
}

bool isFilm(const LaunchOptions& o) { return !o.video.empty() || !o.fromFrames.empty() || !o.pathFile.empty(); }

// What no single option can see: a film needs a destination, and its
// source is either a path, the dive, or a finished folder.
std::string filmOptionsProblem(const LaunchOptions& o) {
  if (o.video.empty()) return "не задан --video (файл .mp4, .webm, .mkv или папка с / на конце)";
  const bool folder = o.video.back() == '/' || o.video.back() == '\\';
  if (!o.shot.empty()) return "--video и --shot нельзя задать вместе";
  if (!o.fromFrames.empty()) {
    if (folder) return "--from-frames кодирует папку кадров в файл: --video должен быть файлом";
    if (!o.pathFile.empty() || o.dive > 0) return "--from-frames не сочетается с --path и --dive";
    return "";
  }
  if (!o.pathFile.empty() && o.dive > 0) return "--path и --dive нельзя задать вместе";
  if (o.pathFile.empty() && !(o.dive > 0))
    return "для фильма нужен --path ФАЙЛ (записанный путь) или --dive СЕКУНДЫ (погружение)";
  if (o.frames.given && !folder) return "--frames пишет часть кадров: --video должен быть папкой (с / на конце)";
  return "";
}

// [SECTION] Texts and --print-preset

std::string usageText() {
  return "Использование: quorvantelix3d [ПАРАМЕТРЫ] [ФАЙЛ]\n"
         "Quorvan Telix 3D: исследование трёхмерных фракталов.\n"
         "\n"
         "  ФАЙЛ                 открыть пресет .json или PNG с параметрами\n"
         "  --seed ТЕКСТ         зерно фрактала\n"
         "  --type КЛЮЧ          тип фрактала (mandelbulb, menger, hybrid, ...)\n"
         "  --tab N              вкладка панели: 0 Создать ... 5 Архив\n"
         "  --dist D             расстояние камеры\n"
         "  --samples N          сэмплов на пиксель\n"
         "  --deep               всегда fp64\n"
         "  --dive СЕКУНДЫ       погружение перед снимком\n"
         "  --dive-speed V       скорость погружения\n"
         "  --dive-until D       остановить погружение на расстоянии D\n"
         "  --hide-ui            скрыть интерфейс\n"
         "  --shot ПУТЬ          отрендерить PNG и отчёт ПУТЬ.log, затем выйти\n"
         "  --poster             снимок как постер: по плиткам, любой размер до 65535x65535\n"
         "  --part K/N           только полоса K из N постера (часть для кластера)\n"
         "  --assemble ВЫХОД ЧАСТИ... собрать постер из частей и выйти\n"
         "  --input-test         сценарий самопроверки ввода\n"
         "  --video ФАЙЛ|ПАПКА/  снять фильм: .mp4 (H.264), .webm, .mkv (VP9)\n"
         "                       или папку PNG-кадров frame_000000.png, ...\n"
         "  --dive СЕКУНДЫ       с --video: фильм погружения такой длины\n"
         "  --path ФАЙЛ          с --video: снять записанный путь камеры\n"
         "  --fps N              кадров в секунду (по умолчанию 30 или как в пути)\n"
         "  --duration С         длина фильма в секундах (путь обрезается)\n"
         "  --frames A-B | K/N   только кадры A..B (с нуля) или доля K из N\n"
         "  --random-seed N      зерно случайности погружения (печатается в журнале)\n"
         "  --shutter S          размытие движения: доля кадра (0..1, 0 = нет)\n"
         "  --from-frames ПАПКА  закодировать готовую папку кадров в --video ФАЙЛ\n"
         "  --size ШxВ           размер окна (или кадра без окна)\n"
         "  --headless           без окна (внеэкранный контекст)\n"
         "  --print-preset [ФАЙЛ] напечатать пресет ФАЙЛА или зерна и выйти\n"
         "  /s, /p, /c           хранитель экрана: показ, предпросмотр, настройки\n"
         "  -window-id ID        рисовать в окно хранителя экрана ID\n"
         "  -root                хранитель экрана xscreensaver: в его окно или на весь рабочий стол\n"
         "  --thumbnail ВХОД ВЫХОД РАЗМЕР\n"
         "                       миниатюра пресета ВХОД (PNG РАЗМЕРxРАЗМЕР) в файл ВЫХОД\n"
         "  --help, -h           эта справка\n"
         "  --version            версия\n";
}

std::string versionText() { return "Quorvan Telix 3D 0.1.0"; }

int runPrintPreset(const LaunchOptions& o, std::string& out, std::string& err) {
  FractalParams p;
  if (!o.file.empty()) {
    std::string message;
    if (!loadPresetFile(o.file, p, message)) {
      err = message + "\n";
      return 1;
    }
  } else {
    p = generateFromSeed(o.seed.empty() ? "classic" : o.seed,
                         o.type.empty() ? "mandelbulb" : o.type, nullptr);
  }
  out = writeJson(presetToJson(p), 2) + "\n";
  return 0;
}
