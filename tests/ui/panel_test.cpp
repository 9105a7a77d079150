// The side panel's content tables: which shape fields each type shows.
#include "app/panel.h"
#include "model/tables.h"

#include <gtest/gtest.h>

#include <algorithm>

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
}
