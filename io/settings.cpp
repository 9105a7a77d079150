// The settings file "state.json": preset, render quality, recent seeds.
#include "io/settings.h"

#include "io/files.h"
#include "io/json.h"
#include "io/preset.h"
#include "model/ranges.h"

#include <cstdint>
#include <exception>

namespace {

// Kinds of one "quality" member; the order of kQuality is the order written.
struct QualityMember {
  const char* key;
  double AppSettings::*asDouble;
  int32_t AppSettings::*asInt;
  bool AppSettings::*asBool;
};

const QualityMember kQuality[] = {
    {"resScale", &AppSettings::resScale, nullptr, nullptr},
    {"samples", nullptr, &AppSettings::samples, nullptr},
    {"maxSteps", nullptr, &AppSettings::maxSteps, nullptr},
    {"precision", &AppSettings::precision, nullptr, nullptr},
    {"deep", nullptr, &AppSettings::deep, nullptr},
    {"diveSpeed", &AppSettings::diveSpeed, nullptr, nullptr},
    {"mutation", &AppSettings::mutation, nullptr, nullptr},
    {"shadows", nullptr, nullptr, &AppSettings::shadows},
    {"ao", nullptr, nullptr, &AppSettings::ao},
    {"adaptive", nullptr, nullptr, &AppSettings::adaptive},
    {"autoIter", nullptr, nullptr, &AppSettings::autoIter},
    {"prepass", nullptr, nullptr, &AppSettings::prepass},
    {"gi", nullptr, nullptr, &AppSettings::gi},
    {"vsync", nullptr, nullptr, &AppSettings::vsync},
    {"photoSize", nullptr, &AppSettings::photoSize, nullptr},
    {"photoSamples", nullptr, &AppSettings::photoSamples, nullptr},
    {"filmSeconds", &AppSettings::filmSeconds, nullptr, nullptr},
    {"filmFps", nullptr, &AppSettings::filmFps, nullptr},
    {"filmSize", nullptr, &AppSettings::filmSize, nullptr},
    {"filmSamples", nullptr, &AppSettings::filmSamples, nullptr},
};

// A number from the file, brought into the member's range; one that is not
// finite leaves the member as it was. The integer members' ranges are whole
// and well inside int32, so the safe value converts exactly.
void applyQualityNumber(const QualityMember& m, double x, AppSettings& s) {
  const ValueRange& range = *findRange(m.key);
  if (m.asDouble) s.*m.asDouble = safeValue(x, range, s.*m.asDouble);
  if (m.asInt) s.*m.asInt = static_cast<int32_t>(safeValue(x, range, s.*m.asInt));
}

void applyQuality(const JsonValue& quality, AppSettings& s) {
  for (const QualityMember& m : kQuality) {
    const JsonValue* v = find(quality, m.key);
    if (!v) continue;
    if ((m.asDouble || m.asInt) && v->isNumber()) applyQualityNumber(m, v->number, s);
    if (m.asBool && v->isBool()) s.*m.asBool = v->boolean;
  }
  s.lastFolder = stringOr(quality, "lastFolder", s.lastFolder);
}

JsonValue qualityToJson(const AppSettings& s) {
  JsonValue q = JsonValue::makeObject();
  for (const QualityMember& m : kQuality) {
    if (m.asDouble) set(q, m.key, JsonValue::makeNumber(s.*m.asDouble));
    if (m.asInt) set(q, m.key, JsonValue::makeNumber(s.*m.asInt));
    if (m.asBool) set(q, m.key, JsonValue::makeBool(s.*m.asBool));
  }
  set(q, "lastFolder", JsonValue::makeString(s.lastFolder));
  return q;
}

std::vector<RecentSeed> historyFromJson(const JsonValue& history) {
  std::vector<RecentSeed> recent;
  for (const JsonValue& item : history.items) {
    if (!item.isObject()) continue;
    if (recent.size() == kRecentSeedLimit) break;
    recent.push_back({stringOr(item, "seed", ""), stringOr(item, "type", "mandelbulb")});
  }
  return recent;
}

JsonValue historyToJson(const std::vector<RecentSeed>& recent) {
  JsonValue arr = JsonValue::makeArray();
  for (const RecentSeed& r : recent) {
    JsonValue o = JsonValue::makeObject();
    set(o, "seed", JsonValue::makeString(r.seed));
    set(o, "type", JsonValue::makeString(r.type));
    arr.items.push_back(std::move(o));
  }
  return arr;
}

}  // namespace

bool loadState(const std::string& path, FractalParams& current, AppSettings& settings,
               std::vector<RecentSeed>& recent) {
  std::string bytes, why;
  if (!readFileLimited(path, kTextFileLimit, bytes, why)) return false;
  try {
    JsonValue root = parseJson(bytes);
    if (!root.isObject()) return false;
    if (const JsonValue* preset = find(root, "preset")) current = presetFromJson(*preset);
    if (const JsonValue* q = find(root, "quality"); q && q->isObject()) applyQuality(*q, settings);
    if (const JsonValue* h = find(root, "history"); h && h->isArray()) recent = historyFromJson(*h);
  } catch (const std::exception&) {
    return false;  // start-up never stops for a bad settings file
  }
  return true;
}

std::string stateText(const FractalParams& current, const AppSettings& settings,
                      const std::vector<RecentSeed>& recent) {
  JsonValue root = JsonValue::makeObject();
  set(root, "preset", presetToJson(current));
  set(root, "quality", qualityToJson(settings));
  set(root, "history", historyToJson(recent));
  return writeJson(root, 2);
}

bool saveState(const std::string& path, const FractalParams& current, const AppSettings& settings,
               const std::vector<RecentSeed>& recent, std::string* error) {
  return writeFileAtomic(path, stateText(current, settings, recent), error);
}
