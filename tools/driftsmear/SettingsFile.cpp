#include "tools/driftsmear/SettingsFile.h"

#include <cctype>
#include <fstream>
#include <sstream>

#include "tools/driftsmear/CliError.h"
#include "tools/driftsmear/Console.h"

namespace driftsmear {

namespace {

// A small reader for the JSON the settings file holds: one object whose
// values are numbers, strings, booleans, or objects of times to those.
class Reader {
 public:
  Reader(const std::string& text, const std::string& name) : text_(text), name_(name) {}

  std::vector<std::string> Settings() {
    std::vector<std::string> sets;
    Expect('{', "the file holds one JSON object, { \"key\": value, ... }");
    if (Peek() == '}') {
      ++at_;
    } else {
      while (true) {
        const std::string key = String();
        Expect(':', "':' after \"" + key + "\"");
        sets.push_back(key + "=" + Value(key));
        if (Peek() == ',') {
          ++at_;
          continue;
        }
        Expect('}', "',' or '}' after the value of \"" + key + "\"");
        break;
      }
    }
    if (Peek() != '\0') Fail("text after the object");
    return sets;
  }

 private:
  [[noreturn]] void Fail(const std::string& what) const {
    int line = 1;
    for (size_t i = 0; i < at_ && i < text_.size(); ++i) line += text_[i] == '\n' ? 1 : 0;
    throw CliError(kExitUsage, name_ + ": line " + std::to_string(line) + ": " + what);
  }

  char Peek() {
    while (at_ < text_.size() && std::isspace(static_cast<unsigned char>(text_[at_]))) ++at_;
    return at_ < text_.size() ? text_[at_] : '\0';
  }

  void Expect(char c, const std::string& what) {
    if (Peek() != c) Fail("expected " + what);
    ++at_;
  }

  static void AppendUtf8(std::string& out, unsigned code) {
    if (code < 0x80) {
      out += static_cast<char>(code);
    } else if (code < 0x800) {
      out += static_cast<char>(0xC0 | (code >> 6));
      out += static_cast<char>(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
      out += static_cast<char>(0xE0 | (code >> 12));
      out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (code & 0x3F));
    } else {
      out += static_cast<char>(0xF0 | (code >> 18));
      out += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
      out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (code & 0x3F));
    }
  }

  unsigned Hex4() {
    if (at_ + 4 > text_.size()) Fail("a \\u escape needs four hex digits");
    unsigned code = 0;
    for (int i = 0; i < 4; ++i) {
      const char c = text_[at_++];
      if (!std::isxdigit(static_cast<unsigned char>(c))) Fail("a \\u escape needs four hex digits");
      code = code * 16 + static_cast<unsigned>(std::isdigit(static_cast<unsigned char>(c)) ? c - '0'
                                                                                            : std::tolower(c) - 'a' + 10);
    }
    return code;
  }

  std::string String() {
    Expect('"', "a string in double quotes");
    std::string out;
    while (true) {
      if (at_ >= text_.size()) Fail("the string does not end");
      const char c = text_[at_++];
      if (c == '"') return out;
      if (c != '\\') {
        out += c;
        continue;
      }
      if (at_ >= text_.size()) Fail("the string does not end");
      const char e = text_[at_++];
      switch (e) {
        case '"': case '\\': case '/': out += e; break;
        case 'b': out += '\b'; break;
        case 'f': out += '\f'; break;
        case 'n': out += '\n'; break;
        case 'r': out += '\r'; break;
        case 't': out += '\t'; break;
        case 'u': {
          unsigned code = Hex4();
          if (code >= 0xD800 && code < 0xDC00 && text_.compare(at_, 2, "\\u") == 0) {
            at_ += 2;
            const unsigned low = Hex4();
            code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
          }
          AppendUtf8(out, code);
          break;
        }
        default: Fail(std::string("unknown escape \\") + e);
      }
    }
  }

  // A plain value as --set text.
  std::string Scalar(const std::string& key) {
    const char c = Peek();
    if (c == '"') return String();
    if (c == '-' || std::isdigit(static_cast<unsigned char>(c))) {
      const size_t start = at_;
      while (at_ < text_.size() && (std::isdigit(static_cast<unsigned char>(text_[at_])) ||
                                    std::string_view("+-.eE").find(text_[at_]) != std::string_view::npos)) {
        ++at_;
      }
      return text_.substr(start, at_ - start);
    }
    for (const char* word : {"true", "false"}) {
      if (text_.compare(at_, std::char_traits<char>::length(word), word) == 0) {
        at_ += std::char_traits<char>::length(word);
        return word[0] == 't' ? "on" : "off";
      }
    }
    Fail("the value of \"" + key + "\" must be a number, a string, true/false, or an object of times to values");
  }

  std::string Value(const std::string& key) {
    if (Peek() != '{') return Scalar(key);
    ++at_;
    std::string keys;
    if (Peek() == '}') Fail("\"" + key + "\" has no keyframes");
    while (true) {
      const std::string time = String();
      Expect(':', "':' after the time \"" + time + "\"");
      // Appended piece by piece: GCC 12 at -O3 warns (-Wrestrict) about the
      // insert that "text" + std::string makes.
      if (!keys.empty()) keys += ',';
      keys += Scalar(key);
      keys += '@';
      keys += time;
      if (Peek() == ',') {
        ++at_;
        continue;
      }
      Expect('}', "',' or '}' in the keyframes of \"" + key + "\"");
      return keys;
    }
  }

  const std::string& text_;
  const std::string& name_;
  size_t at_ = 0;
};

}  // namespace

std::vector<std::string> ParseSettingsJson(const std::string& text, const std::string& name) {
  return Reader(text, name).Settings();
}

std::vector<std::string> ReadSettingsFile(const std::string& path) {
  std::ifstream in(PathFromUtf8(path), std::ios::binary);
  if (!in) throw CliError(kExitInput, "cannot read the settings file " + path);
  std::ostringstream text;
  text << in.rdbuf();
  std::string content = text.str();
  if (content.compare(0, 3, "\xEF\xBB\xBF") == 0) content.erase(0, 3);  // a UTF-8 mark some editors write
  return ParseSettingsJson(content, path);
}

}  // namespace driftsmear
