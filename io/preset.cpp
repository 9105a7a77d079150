// The preset document: writer of the desktop dialect and a reader of both the
// desktop and the web dialect.
#include "io/preset.h"

#include "model/fields.h"
#include "model/names.h"
#include "model/ranges.h"
#include "model/seed.h"
#include "model/tables.h"

#include <cmath>
#include <stdexcept>

namespace {

// The web edition numbers its types; only the first seven exist there.
const char* const kWebTypeCodes[7] = {"mandelbulb", "mandelbox",   "sierpinski", "menger",
                                      "juliabulb",  "burningbulb", "juliabox"};

struct StringField {
  const char* key;
  std::string FractalParams::*field;
};

const StringField kStringFields[] = {
    {"palette", &FractalParams::palette},     {"customA", &FractalParams::customA},
    {"customB", &FractalParams::customB},     {"customC", &FractalParams::customC},
    {"glowColor", &FractalParams::glowColor}, {"bgTop", &FractalParams::bgTop},
    {"bgBot", &FractalParams::bgBot},
};

JsonValue slotsToJson(const std::vector<FormulaSlot>& slots) {
  JsonValue arr = JsonValue::makeArray();
  for (const FormulaSlot& s : slots) {
    JsonValue o = JsonValue::makeObject();
    set(o, "f", JsonValue::makeNumber(s.f));
    set(o, "k", JsonValue::makeNumber(s.k));
    arr.items.push_back(std::move(o));
  }
  return arr;
}

JsonValue camToJson(const FractalParams& p) {
  JsonValue cam = JsonValue::makeObject();
  for (const NumberField& f : numberFields())
    if (f.group == FieldGroup::Camera) set(cam, f.key, JsonValue::makeNumber(p.*f.field));
  return cam;
}

}  // namespace

JsonValue presetToJson(const FractalParams& p) {
  JsonValue o = JsonValue::makeObject();
  set(o, "app", JsonValue::makeString("Quorvantelix3D"));
  set(o, "version", JsonValue::makeString("3.0"));
  set(o, "v", JsonValue::makeNumber(3));
  set(o, "seed", JsonValue::makeString(p.seed));
  set(o, "type", JsonValue::makeString(p.type));
  for (const NumberField& f : numberFields())
    if (f.group != FieldGroup::Camera) set(o, f.key, JsonValue::makeNumber(p.*f.field));
  set(o, "slots", slotsToJson(p.slots));
  set(o, "jmode", JsonValue::makeNumber(p.jmode));
  for (const StringField& f : kStringFields) set(o, f.key, JsonValue::makeString(p.*f.field));
  set(o, "autoFocus", JsonValue::makeBool(p.autoFocus));
  set(o, "cam", camToJson(p));
  return o;
}

std::string presetText(const FractalParams& p, int indent) {
  return writeJson(presetToJson(p), indent);
}

namespace {

bool isKnownType(const std::string& key) {
  for (const FractalType& t : fractalTypes())
    if (t.key == key) return true;
  return false;
}

// Values far outside int32 must not reach the conversion as they are.
int32_t truncateToInt(double x) {
  if (std::isnan(x)) return 0;
  if (!(x > -2147483649.0)) return INT32_MIN;
  if (!(x < 2147483648.0)) return INT32_MAX;
  return static_cast<int32_t>(x);
}

FormulaSlot slotFromJson(const JsonValue& o) {
  FormulaSlot s;
  double f = std::floor(numberOr(o, "f", 0) + 0.5);
  s.f = f > 5 ? 5 : f >= 0 ? static_cast<int32_t>(f) : 0;  // NaN lands on 0
  s.k = numberOr(o, "k", 8);
  return s;
}

void readSlots(const JsonValue& root, FractalParams& p) {
  const JsonValue* slots = find(root, "slots");
  if (!slots || !slots->isArray()) return;
  p.slots.clear();
  for (const JsonValue& item : slots->items) {
    if (p.slots.size() == 4) break;
    if (item.isObject()) p.slots.push_back(slotFromJson(item));
  }
}

// A missing camera number keeps the type's starting pose that `p` holds.
void readCam(const JsonValue& root, FractalParams& p) {
  const JsonValue* cam = find(root, "cam");
  if (!cam || !cam->isObject()) return;
  for (const NumberField& f : numberFields())
    if (f.group == FieldGroup::Camera) p.*f.field = numberOr(*cam, f.key, p.*f.field);
}

FractalParams desktopFromJson(const JsonValue& root) {
  std::string type = stringOr(root, "type", "mandelbulb");
  if (!isKnownType(type)) type = "mandelbulb";
  FractalParams p = defaultsForType(type);
  p.seed = stringOr(root, "seed", p.seed);
  for (const NumberField& f : numberFields())
    if (f.group != FieldGroup::Camera) p.*f.field = numberOr(root, f.key, p.*f.field);
  if (const JsonValue* j = find(root, "jmode"); j && j->isNumber()) p.jmode = truncateToInt(j->number);
  for (const StringField& f : kStringFields) p.*f.field = stringOr(root, f.key, p.*f.field);
  if (const JsonValue* a = find(root, "autoFocus"); a && a->isBool()) p.autoFocus = a->boolean;
  readSlots(root, p);
  if (type == "hybrid" && p.slots.empty()) p.slots = defaultsForType("hybrid").slots;
  readCam(root, p);
  return p;
}

std::string webType(const JsonValue& root) {
  const JsonValue* t = find(root, "type");
  if (!t) t = find(root, "Type");
  if (!t) return "mandelbulb";
  if (t->isNumber()) {
    if (t->number >= 0 && t->number < 7) return kWebTypeCodes[static_cast<int>(t->number)];
    return "mandelbulb";
  }
  if (!t->isString()) return "mandelbulb";
  std::string key = t->text;
  for (char& c : key)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return isKnownType(key) ? key : "mandelbulb";
}

FractalParams webFromJson(const JsonValue& root) {
  const JsonValue* s = find(root, "seed");
  if (!s || !s->isString()) s = find(root, "Seed");
  std::string seed = s && s->isString() ? s->text : std::string();
  // The generator is never handed an empty seed: a nameless fractal gets a fresh name.
  if (seed.empty()) seed = randomSeedName();
  return generateFromSeed(seed, webType(root), nullptr);
}

bool isDesktopDocument(const JsonValue& root) {
  const JsonValue* v = find(root, "v");
  if (v && v->isNumber() && v->number == 3) return true;
  const JsonValue* app = find(root, "app");
  return app && app->isString() && app->text == "Quorvantelix3D";
}

}  // namespace

FractalParams presetFromJson(const JsonValue& root) {
  if (!root.isObject()) throw std::runtime_error("неверный формат пресета");
  FractalParams p = isDesktopDocument(root) ? desktopFromJson(root) : webFromJson(root);
  makeParamsSafe(p);
  return p;
}
