// The side panel's content tables: which shape fields each type shows, and
// that their slider ranges hold everything mutation can produce.
#include "app/panel.h"
#include "model/mutate.h"
#include "model/tables.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace {

std::vector<std::string> labelsOf(const std::string& type) {
  std::vector<std::string> out;
  for (const FieldSlider& f : shapeSliders(defaultsForType(type))) out.push_back(f.label);
  return out;
}

bool has(const std::vector<std::string>& v, const std::string& s) {
  return std::find(v.begin(), v.end(), s) != v.end();
}

}  // namespace

TEST(PanelTables, ShapeFieldsFollowTheTypeFlags) {
  EXPECT_EQ(labelsOf("mandelbulb"), (std::vector<std::string>{"Итерации", "Степень", "Деформация"}));
  auto q = labelsOf("qjulia");  // only the w bit set, yet all four parts are read
  EXPECT_TRUE(has(q, "C · x") && has(q, "C · w"));
  EXPECT_FALSE(has(q, "Масштаб") || has(q, "Степень"));
  auto m = labelsOf("menger");
  EXPECT_TRUE(has(m, "Масштаб") && has(m, "Смещение складки z") && has(m, "Вокруг Y"));
  EXPECT_FALSE(has(m, "C · x"));
  auto h = labelsOf("hybrid");
  EXPECT_TRUE(has(h, "C · z") && has(h, "Вокруг X"));
  EXPECT_FALSE(has(h, "C · w") || has(h, "Масштаб") || has(h, "Степень"));
  EXPECT_EQ(tabLabels(), (std::vector<std::string>{"Создать", "Форма", "Цвет", "Движение", "Рендер", "Архив"}));
}

TEST(PanelTables, RangesHoldDefaultsAndBoldMutants) {
  std::mt19937 rng(7);
  for (const FractalType& t : fractalTypes()) {
    FractalParams p = defaultsForType(t.key);
    for (int round = 0; round < 40; ++round) {
      for (const FieldSlider& f : shapeSliders(p)) {
        double v = p.*f.field;
        EXPECT_GE(v, f.spec.lo) << t.key << " " << f.label;
        EXPECT_LE(v, f.spec.hi) << t.key << " " << f.label;
      }
      for (const FormulaSlot& s : p.slots) {
        SliderSpec k = linkSpec(s.f);
        EXPECT_GE(s.k, k.lo) << t.key;
        EXPECT_LE(s.k, k.hi) << t.key;
      }
      p = mutate(p, 1.0, rng);
    }
  }
  EXPECT_EQ(shapeSliders(defaultsForType("kifs"))[0].spec.hi, 60);  // "Итерации" up to the type's maximum
}
