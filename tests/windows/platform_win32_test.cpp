// The Windows backend's own checks, run under Wine by wine_smoke.sh (no
// GoogleTest for Windows here: a failed check prints its line and the exit
// status counts the failures). Needs a display: it opens real windows.
#include "platform/platform.h"

#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

using namespace platform;

namespace {

int failures = 0;

void check(bool ok, const char* what) {
  std::printf("%s %s\n", ok ? "ok  " : "FAIL", what);
  if (!ok) ++failures;
}

// [SECTION] Glyphs

const GlyphBitmap* glyph(const std::vector<GlyphBitmap>& gs, uint32_t cp) {
  for (const GlyphBitmap& g : gs)
    if (g.codepoint == cp) return &g;
  return nullptr;
}

int lit(const GlyphBitmap& g) {
  int n = 0;
  for (uint8_t c : g.coverage) n += c > 0;
  return n;
}

void glyphTests() {
  FontRequest f;
  // Under Wine the faces come from the host's fontconfig (DejaVu); an unknown
  // face would be substituted by a sans face, so a serif result shows the pass-over.
  f.families = {"Qtx No Such Face", "DejaVu Serif"};
  f.pixelHeight = 20;
  std::vector<GlyphBitmap> gs;
  FontMetrics m;
  std::string error;
  bool ok = rasterizeGlyphs(f, {'x', 'g', ' ', 0x416 /* Ж */, 0xE000}, gs, m, error);
  check(ok && gs.size() == 5, "glyphs: one entry per code point");
  if (!ok || gs.size() != 5) return;
  check(m.face == "DejaVu Serif", ("glyphs: a face GDI only substitutes is passed over (got " + m.face + ")").c_str());
  check(m.ascent > 10 && m.height >= m.ascent && m.height < 40, "glyphs: metrics of a 20-pixel font");
  const GlyphBitmap &x = *glyph(gs, 'x'), &g = *glyph(gs, 'g'), &sp = *glyph(gs, ' ');
  const GlyphBitmap &zhe = *glyph(gs, 0x416), &pua = *glyph(gs, 0xE000);
  check(x.present && std::abs(x.top + x.height - m.ascent) <= 1, "glyphs: x sits on the baseline");
  check(g.present && g.top + g.height > m.ascent + 2, "glyphs: g descends below the baseline");
  check(sp.present && sp.advance > 0 && sp.width == 0, "glyphs: a space advances and draws nothing");
  check(zhe.present && zhe.advance > 0 && lit(zhe) > 20 && zhe.coverage.size() == size_t(zhe.width) * zhe.height,
        "glyphs: Cyrillic capital with coverage");
  bool grey = false;
  for (uint8_t c : zhe.coverage) grey = grey || (c > 0 && c < 255);
  check(grey, "glyphs: antialiased (grey) edges");
  check(!pua.present && pua.advance == 0, "glyphs: a code point no face has is absent");
}

// [SECTION] Events through a real window

std::vector<InputEvent> collect(Window* w, size_t atLeast) {
  std::vector<InputEvent> all;
  for (int i = 0; i < 50 && all.size() < atLeast; ++i) {
    for (InputEvent& e : waitEvents(w, 20)) all.push_back(std::move(e));
  }
  return all;
}

// The events of one posted input, without the window's own (size, focus).
std::vector<InputEvent> roundTrip(Window* w, const InputEvent& e, size_t expected) {
  postEvent(w, e);
  std::vector<InputEvent> out;
  for (InputEvent& got : collect(w, expected))
    if (got.type == e.type) out.push_back(std::move(got));
  return out;
}

void eventTests(Window* w) {
  collect(w, 1000);  // drain what the window sent on its own
  InputEvent key;
  key.type = EventType::KeyDown;
  key.key = 'z';
  key.mods = kModCtrl | kModShift;
  std::vector<InputEvent> got = roundTrip(w, key, 1);
  check(got.size() == 1 && got[0].key == 'z' && got[0].mods == (kModCtrl | kModShift),
        "events: posted Ctrl+Shift+Z keeps its key and modifiers");
  InputEvent text;
  text.type = EventType::Text;
  text.text = "ж\xF0\x9F\x98\x80";  // a Cyrillic letter, then one outside the BMP (a surrogate pair)
  got = roundTrip(w, text, 2);
  check(got.size() == 2 && got[0].text == "ж" && got[1].text == "\xF0\x9F\x98\x80",
        "events: typed characters arrive whole, surrogate pairs joined");
  InputEvent click;
  click.type = EventType::MouseDown;
  click.button = 1;
  click.clicks = 2;
  click.x = 10;
  click.y = 20;
  got = roundTrip(w, click, 1);
  check(got.size() == 1 && got[0].clicks == 2 && got[0].x == 10 && got[0].y == 20 && got[0].button == 1,
        "events: a double click at its client position");
  InputEvent up = click;
  up.type = EventType::MouseUp;
  roundTrip(w, up, 1);
  InputEvent wheel;
  wheel.type = EventType::MouseWheel;
  wheel.wheel = -2;
  wheel.x = 30;
  wheel.y = 40;
  got = roundTrip(w, wheel, 1);
  check(got.size() == 1 && got[0].wheel == -2 && got[0].x == 30 && got[0].y == 40,
        "events: wheel notches at the client position");
  InputEvent drop;
  drop.type = EventType::DropFile;
  drop.text = "C:\\тест\\фрактал.json";
  got = roundTrip(w, drop, 1);
  check(got.size() == 1 && got[0].text == drop.text, "events: a dropped wide path arrives as UTF-8");
  InputEvent close;
  close.type = EventType::Close;
  check(roundTrip(w, close, 1).size() == 1, "events: a close request is an event, not the end");
}

// [SECTION] Desktop services

bool endsWith(const std::string& s, const std::string& tail) {
  return s.size() >= tail.size() && s.compare(s.size() - tail.size(), tail.size(), tail) == 0;
}

void desktopTests(Window* w) {
  // The settings folder is checked by the smoke test's state.json in %APPDATA%.
  check(endsWith(picturesFolder(), "\\Quorvan Telix"), "folders: pictures folder");
  setClipboardText("Привет, мир");
  check(clipboardText() == "Привет, мир", "clipboard: Cyrillic text round trip");
  int width = 0, height = 0;
  drawableSize(w, width, height);
  check(width == 200 && height == 120, "window: the client area has the size asked for");
}

void headlessTests() {
  WindowDesc d;
  d.kind = WindowKind::Headless;
  d.width = 64;
  d.height = 32;
  std::string error;
  Window* h = createWindow(d, error);
  check(h && isHeadless(h) && defaultFramebuffer(h) != 0, "headless: a 4.3 context with a stand-in framebuffer");
  check(glProcAddress("glGetString") && glProcAddress("glCreateShader") && !glProcAddress("glNoSuchCall"),
        "GL: 1.1 entry points from opengl32, later ones from the driver");
  destroyWindow(h);
}

}  // namespace

int main() {
  glyphTests();
  headlessTests();
  WindowDesc d;
  d.width = 200;
  d.height = 120;
  std::string error;
  Window* w = createWindow(d, error);
  check(w != nullptr, ("window: created " + error).c_str());
  if (w) {
    eventTests(w);
    desktopTests(w);
    destroyWindow(w);
  }
  std::printf("%d failed\n", failures);
  return failures == 0 ? 0 : 1;
}
