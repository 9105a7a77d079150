// The JSON value tree: a recursive-descent reader over bytes and a printer
// whose layout the preset, PNG and settings files depend on.
//
// Index
//   [SECTION] UTF-8                  what counts as well-formed, and the repair
//   [SECTION] Construction and lookup
//   [SECTION] Reader                 with the key index of big objects
//   [SECTION] Writer
#include "io/json.h"

#include "model/decimal.h"
#include "model/utf8.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <stdexcept>
#include <unordered_map>

// [SECTION] UTF-8

namespace {

// The sequence at `i`, or U+FFFD for its first byte alone; `i` moves past
// what was taken.
void appendRepaired(std::string_view s, size_t& i, std::string& out) {
  uint32_t cp;
  const size_t n = utf8SequenceAt(s, i, cp, Surrogates::Kept);
  if (n == 0) {
    out += "\xEF\xBF\xBD";
    ++i;
    return;
  }
  out.append(s, i, n);
  i += n;
}

}  // namespace

std::string repairUtf8(std::string_view bytes) {
  std::string out;
  out.reserve(bytes.size());
  for (size_t i = 0; i < bytes.size();) appendRepaired(bytes, i, out);
  return out;
}

bool isRepairedUtf8(std::string_view bytes) {
  for (size_t i = 0; i < bytes.size();) {
    uint32_t cp;
    const size_t n = utf8SequenceAt(bytes, i, cp, Surrogates::Kept);
    if (n == 0) return false;
    i += n;
  }
  return true;
}

// [SECTION] Construction and lookup

JsonValue::JsonValue() = default;

JsonValue JsonValue::makeBool(bool b) {
  JsonValue v;
  v.type = Bool;
  v.boolean = b;
  return v;
}

JsonValue JsonValue::makeNumber(double n) {
  JsonValue v;
  v.type = Number;
  v.number = n;
  return v;
}

JsonValue JsonValue::makeString(std::string s) {
  JsonValue v;
  v.type = String;
  v.text = std::move(s);
  return v;
}

JsonValue JsonValue::makeArray() {
  JsonValue v;
  v.type = Array;
  return v;
}

JsonValue JsonValue::makeObject() {
  JsonValue v;
  v.type = Object;
  return v;
}

void set(JsonValue& object, const std::string& key, JsonValue value) {
  for (auto& member : object.members) {
    if (member.first == key) {
      member.second = std::move(value);
      return;
    }
  }
  object.members.emplace_back(key, std::move(value));
}

const JsonValue* find(const JsonValue& object, const std::string& key) {
  for (const auto& member : object.members)
    if (member.first == key) return &member.second;
  return nullptr;
}

double numberOr(const JsonValue& object, const std::string& key, double fallback) {
  const JsonValue* v = find(object, key);
  return v && v->isNumber() ? v->number : fallback;
}

std::string stringOr(const JsonValue& object, const std::string& key, const std::string& fallback) {
  const JsonValue* v = find(object, key);
  return v && v->isString() ? v->text : fallback;
}

// [SECTION] Reader

namespace {

struct Reader {
  std::string_view s;
  size_t pos = 0;
  int depth = 0;
};

[[noreturn]] void fail(const char* message) { throw std::runtime_error(message); }

bool atEnd(const Reader& r) { return r.pos >= r.s.size(); }

void skipSpace(Reader& r) {
  while (!atEnd(r)) {
    char c = r.s[r.pos];
    if (c != ' ' && c != '\n' && c != '\r' && c != '\t') break;
    ++r.pos;
  }
}

// Skips whitespace and returns the next byte; running out here is always an error.
char peekToken(Reader& r) {
  skipSpace(r);
  if (atEnd(r)) fail("неожиданный конец JSON");
  return r.s[r.pos];
}

bool startsWith(const Reader& r, std::string_view word) {
  return r.s.substr(r.pos, word.size()) == word;
}


bool isNumberChar(char c) {
  return (c >= '0' && c <= '9') || c == '-' || c == '+' || c == '.' || c == 'e' || c == 'E';
}

double readNumber(Reader& r) {
  size_t start = r.pos;
  while (!atEnd(r) && isNumberChar(r.s[r.pos])) ++r.pos;
  if (r.pos == start) fail("неверное значение JSON");
  // Whatever is left unread ("1-2" reads as 1) is dropped on purpose.
  double value;
  readDecimal(r.s.substr(start, r.pos - start), value);
  return value;
}

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// After "\u": four hex digits give a code unit; anything shorter leaves a plain 'u'.
void readUnicodeEscape(Reader& r, std::string& out) {
  unsigned unit = 0;
  if (r.pos + 4 <= r.s.size()) {
    for (int i = 0; i < 4; ++i) {
      int d = hexDigit(r.s[r.pos + i]);
      if (d < 0) {
        out += 'u';
        return;
      }
      unit = unit * 16 + static_cast<unsigned>(d);
    }
    r.pos += 4;
    // Each unit is encoded on its own: surrogate halves are not paired, so the
    // text round-trips byte for byte with files other builds wrote.
    appendUtf8(out, unit, Surrogates::Kept);
    return;
  }
  out += 'u';
}

// Called on the opening quote. An unterminated string ends with the input.
std::string readString(Reader& r) {
  std::string out;
  ++r.pos;
  while (!atEnd(r)) {
    char c = r.s[r.pos];
    if (c == '"') {
      ++r.pos;
      return out;
    }
    if (static_cast<unsigned char>(c) >= 0x80) {
      appendRepaired(r.s, r.pos, out);
      continue;
    }
    ++r.pos;
    if (c != '\\') {
      out += c;
      continue;
    }
    if (atEnd(r)) break;
    char e = r.s[r.pos++];
    switch (e) {
      case 'n': out += '\n'; break;
      case 't': out += '\t'; break;
      case 'r': out += '\r'; break;
      case 'b': out += '\b'; break;
      case 'f': out += '\f'; break;
      case 'u': readUnicodeEscape(r, out); break;
      default: out += e; break;
    }
  }
  return out;
}

JsonValue readValue(Reader& r);

void enterContainer(Reader& r) {
  if (++r.depth > kJsonMaxDepth) fail("слишком глубокая вложенность JSON");
}

// Where each key of an object being read sits, so that a repeated key is
// found in constant time: a scan per member made big objects quadratic. Small
// objects (every preset) scan, which is faster than hashing there.
struct KeyIndex {
  static constexpr size_t kScanLimit = 16;
  std::unordered_map<std::string, size_t> positions;
};

void addMember(JsonValue& obj, KeyIndex& index, std::string key, JsonValue value) {
  auto& members = obj.members;
  if (members.size() < KeyIndex::kScanLimit) {
    set(obj, key, std::move(value));
    return;
  }
  if (index.positions.empty())
    for (size_t i = 0; i < members.size(); ++i) index.positions.emplace(members[i].first, i);
  auto [it, added] = index.positions.emplace(key, members.size());
  if (!added) {
    members[it->second].second = std::move(value);
    return;
  }
  members.emplace_back(std::move(key), std::move(value));
}

JsonValue readObject(Reader& r) {
  enterContainer(r);
  ++r.pos;
  JsonValue obj = JsonValue::makeObject();
  if (peekToken(r) == '}') {
    ++r.pos;
    --r.depth;
    return obj;
  }
  KeyIndex index;
  for (;;) {
    if (peekToken(r) != '"') fail("ожидалась строка");
    std::string key = readString(r);
    if (peekToken(r) != ':') fail("ожидалось ':'");
    ++r.pos;
    addMember(obj, index, std::move(key), readValue(r));
    char c = peekToken(r);
    ++r.pos;
    if (c == '}') break;
    if (c != ',') fail("ожидалось ',' или '}'");
  }
  --r.depth;
  return obj;
}

JsonValue readArray(Reader& r) {
  enterContainer(r);
  ++r.pos;
  JsonValue arr = JsonValue::makeArray();
  if (peekToken(r) == ']') {
    ++r.pos;
    --r.depth;
    return arr;
  }
  for (;;) {
    arr.items.push_back(readValue(r));
    char c = peekToken(r);
    ++r.pos;
    if (c == ']') break;
    if (c != ',') fail("ожидалось ',' или ']'");
  }
  --r.depth;
  return arr;
}

JsonValue readValue(Reader& r) {
  char c = peekToken(r);
  if (c == '{') return readObject(r);
  if (c == '[') return readArray(r);
  if (c == '"') return JsonValue::makeString(readString(r));
  if (startsWith(r, "true")) {
    r.pos += 4;
    return JsonValue::makeBool(true);
  }
  if (startsWith(r, "false")) {
    r.pos += 5;
    return JsonValue::makeBool(false);
  }
  if (startsWith(r, "null")) {
    r.pos += 4;
    return JsonValue();
  }
  return JsonValue::makeNumber(readNumber(r));
}

}  // namespace

JsonValue parseJson(std::string_view text) {
  // A byte-order mark is what some editors put before UTF-8 text.
  if (text.substr(0, 3) == "\xEF\xBB\xBF") text.remove_prefix(3);
  Reader r{text};
  JsonValue root = readValue(r);
  skipSpace(r);
  if (!atEnd(r)) fail("лишние символы в JSON");
  return root;
}

// [SECTION] Writer

namespace {

// to_chars matches printf's "%.0f" and "%.10g" in the "C" locale whatever the
// process locale is.
void writeNumber(std::string& out, double x) {
  if (!std::isfinite(x)) {
    out += '0';
    return;
  }
  char buf[64];
  std::to_chars_result res;
  if (x == std::floor(x) && std::fabs(x) < 1e15)
    res = std::to_chars(buf, buf + sizeof buf, x, std::chars_format::fixed, 0);
  else
    res = std::to_chars(buf, buf + sizeof buf, x, std::chars_format::general, 10);
  out.append(buf, res.ptr);
}

void writeString(std::string& out, const std::string& text) {
  // What the reader would repair is repaired here too: a record built in
  // memory (a seed typed on the command line) never writes bad UTF-8.
  std::string repaired;
  const std::string& s = isRepairedUtf8(text) ? text : (repaired = repairUtf8(text));
  out += '"';
  for (char ch : s) {
    unsigned char c = static_cast<unsigned char>(ch);
    if (c == '"') {
      out += "\\\"";
    } else if (c == '\\') {
      out += "\\\\";
    } else if (c == '\n') {
      out += "\\n";
    } else if (c < 0x20) {
      char buf[8];
      std::snprintf(buf, sizeof buf, "\\u%04x", c);
      out += buf;
    } else {
      out += ch;
    }
  }
  out += '"';
}

void writeValue(std::string& out, const JsonValue& v, int indent, int level);

void writeObject(std::string& out, const JsonValue& v, int indent, int level) {
  if (v.members.empty()) {
    out += "{}";
    return;
  }
  out += "{\n";
  for (size_t i = 0; i < v.members.size(); ++i) {
    out.append(static_cast<size_t>((level + 1) * indent), ' ');
    writeString(out, v.members[i].first);
    out += ": ";
    writeValue(out, v.members[i].second, indent, level + 1);
    out += i + 1 < v.members.size() ? ",\n" : "\n";
  }
  out.append(static_cast<size_t>(level * indent), ' ');
  out += '}';
}

void writeArray(std::string& out, const JsonValue& v, int indent, int level) {
  out += '[';
  for (size_t i = 0; i < v.items.size(); ++i) {
    if (i) out += ", ";
    writeValue(out, v.items[i], indent, level + 1);
  }
  out += ']';
}

void writeValue(std::string& out, const JsonValue& v, int indent, int level) {
  switch (v.type) {
    case JsonValue::Null: out += "null"; break;
    case JsonValue::Bool: out += v.boolean ? "true" : "false"; break;
    case JsonValue::Number: writeNumber(out, v.number); break;
    case JsonValue::String: writeString(out, v.text); break;
    case JsonValue::Array: writeArray(out, v, indent, level); break;
    case JsonValue::Object: writeObject(out, v, indent, level); break;
  }
}

}  // namespace

std::string writeJson(const JsonValue& value, int indent, int level) {
  std::string out;
  writeValue(out, value, indent, level);
  return out;
}
