// The command line: switches of the classic program, the screen-saver
// switches, and the conveniences (positional file, --size, --print-preset).
#include "app/launch.h"

#include "io/files.h"
#include "io/json.h"
#include "io/preset.h"
#include "model/seed.h"

#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <locale.h>
#include <stdlib.h>

namespace {

// [SECTION] Values

struct ArgCursor {
  const std::vector<std::string>& args;
  size_t index;
};

// The argument after the current one, advancing past it; empty (and no
// advance) when there is none, which then converts to 0.
std::string nextArgument(ArgCursor& c) {
  if (c.index + 1 >= c.args.size()) return {};
  return c.args[++c.index];
}

std::string lowerAscii(std::string s) {
  for (char& ch : s)
    if (ch >= 'A' && ch <= 'Z') ch = static_cast<char>(ch - 'A' + 'a');
  return s;
}

// Decimal like atoi, but saturating instead of undefined on overflow.
int32_t toInt(const std::string& text) {
  long long v = std::strtoll(text.c_str(), nullptr, 10);
  if (v > INT32_MAX) return INT32_MAX;
  if (v < INT32_MIN) return INT32_MIN;
  return static_cast<int32_t>(v);
}

// strtod in the "C" locale: "--dist 0.5" means the same under any user locale.
double toDouble(const std::string& text) {
  static locale_t cLocale = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(0));
  return strtod_l(text.c_str(), nullptr, cLocale);
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

// Options that take a value; true when `lower` was one of them.
bool parseValueOption(const std::string& lower, ArgCursor& c, LaunchOptions& o) {
  if (lower == "--shot") o.shot = nextArgument(c);
  else if (lower == "--seed") o.seed = nextArgument(c);
  else if (lower == "--type") o.type = nextArgument(c);
  else if (lower == "--tab") o.tab = toInt(nextArgument(c));
  else if (lower == "--dist") o.dist = toDouble(nextArgument(c));
  else if (lower == "--samples") o.samples = toInt(nextArgument(c));
  else if (lower == "--dive") o.dive = toDouble(nextArgument(c));
  else if (lower == "--dive-speed") o.diveSpeed = toDouble(nextArgument(c));
  else if (lower == "--dive-until") o.diveUntil = toDouble(nextArgument(c));
  else if (lower == "-window-id" || lower == "--window-id") o.windowId = nextArgument(c);
  else if (lower == "--size") {
    std::string value = nextArgument(c);
    if (!parseSize(value, o.width, o.height)) {
      o.width = o.height = 0;
      o.error = "неверный размер окна: \"" + value + "\" (нужно ШxВ, например 1280x720)";
    }
  } else return false;
  return true;
}

bool parseFlag(const std::string& lower, LaunchOptions& o) {
  if (lower == "--deep") o.deep = true;
  else if (lower == "--hide-ui") o.hideUi = true;
  else if (lower == "--input-test") o.inputTest = true;
  else if (lower == "--print-preset") o.printPreset = true;
  else if (lower == "--headless") o.headless = true;
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
  ArgCursor c{args, 1};
  for (; c.index < args.size(); ++c.index) {
    const std::string& arg = args[c.index];
    std::string lower = lowerAscii(arg);
    if (isScreenSaverSwitch(lower)) parseScreenSaverSwitch(lower, o);
    else if (parseValueOption(lower, c, o) || parseFlag(lower, o)) continue;
    else if (!arg.empty() && arg[0] != '-' && o.file.empty()) o.file = arg;
    // Anything else is ignored, as the classic program did.
  }
  return o;
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
         "  --input-test         сценарий самопроверки ввода\n"
         "  --size ШxВ           размер окна (или кадра без окна)\n"
         "  --headless           без окна (внеэкранный контекст)\n"
         "  --print-preset [ФАЙЛ] напечатать пресет ФАЙЛА или зерна и выйти\n"
         "  /s, /p, /c           хранитель экрана: показ, предпросмотр, настройки\n"
         "  -window-id ID        рисовать в окно хранителя экрана ID\n"
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
