// A small JSON value tree: objects keep insertion order, numbers are doubles,
// strings are UTF-8 bytes. Parse errors throw std::runtime_error with a short
// Russian message that the file flows show to the user. Reading takes time in
// proportion to the text, whatever the number of keys; a leading byte-order
// mark is skipped, and bytes that are not UTF-8 are read (and written) as
// U+FFFD, so no file or PNG chunk the program writes carries them.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

struct JsonValue {
  enum Type { Null = 0, Bool = 1, Number = 2, String = 3, Array = 4, Object = 5 };

  Type type = Null;
  bool boolean = false;
  double number = 0;
  std::string text;
  std::vector<JsonValue> items;
  std::vector<std::pair<std::string, JsonValue>> members;

  // Declared here, defaulted in json.cpp: with clang and libstdc++ an implicit
  // constructor cannot be formed while the member pair type is incomplete.
  JsonValue();

  static JsonValue makeBool(bool b);
  static JsonValue makeNumber(double n);
  static JsonValue makeString(std::string s);
  static JsonValue makeArray();
  static JsonValue makeObject();

  bool isObject() const { return type == Object; }
  bool isArray() const { return type == Array; }
  bool isNumber() const { return type == Number; }
  bool isString() const { return type == String; }
  bool isBool() const { return type == Bool; }
};

inline constexpr int kJsonMaxDepth = 512;

// The bytes with every sequence that is not UTF-8 replaced by U+FFFD, one
// replacement per bad byte. Encoded surrogate halves count as valid: the
// reader itself makes them from "\u" escapes, and they must round-trip.
std::string repairUtf8(std::string_view bytes);
bool isRepairedUtf8(std::string_view bytes);

// Replaces an existing member in place or appends a new one.
void set(JsonValue& object, const std::string& key, JsonValue value);
const JsonValue* find(const JsonValue& object, const std::string& key);
double numberOr(const JsonValue& object, const std::string& key, double fallback);
std::string stringOr(const JsonValue& object, const std::string& key, const std::string& fallback);

JsonValue parseJson(std::string_view text);
std::string writeJson(const JsonValue& value, int indent, int level = 0);
