// Development tool: prints the tokeniser's events for inputs read from stdin,
// in a form that scripts/tokenizer_diff.py compares with a reference.
//
// Input: a sequence of records "<byte length>\n<bytes>". Output per record: one
// line per event, then a line "END". Every text is written as hexadecimal
// UTF-8 so that no escaping question arises:
//   D <data>                 character data
//   S <tag> [<name>=<value>|<name>]...   start tag (a bare name: absent value)
//   SE <tag> ...             self-closed start tag, same attribute form
//   E <tag>                  end tag
#include <iostream>
#include <string>

#include "front/dom.hpp"

namespace {

std::string hex(const std::string& s) {
  static const char* digits = "0123456789abcdef";
  std::string out;
  for (unsigned char c : s) {
    out += digits[c >> 4];
    out += digits[c & 15];
  }
  return out.empty() ? "~" : out;
}

class Dump : public pagefold::TokenSink {
 public:
  void handle_starttag(const std::string& tag, const pagefold::Attrs& attrs) override {
    tag_line("S", tag, attrs);
  }
  void handle_startendtag(const std::string& tag, const pagefold::Attrs& attrs) override {
    tag_line("SE", tag, attrs);
  }
  void handle_endtag(const std::string& tag) override { std::cout << "E " << hex(tag) << '\n'; }
  void handle_data(const std::string& data) override { std::cout << "D " << hex(data) << '\n'; }

 private:
  void tag_line(const char* kind, const std::string& tag, const pagefold::Attrs& attrs) {
    std::cout << kind << ' ' << hex(tag);
    for (const auto& a : attrs) {
      std::cout << ' ' << hex(a.name);
      if (a.value) std::cout << '=' << hex(*a.value);
    }
    std::cout << '\n';
  }
};

}  // namespace

int main() {
  std::ios::sync_with_stdio(false);
  size_t size = 0;
  while (std::cin >> size) {
    std::cin.get();  // the line feed after the length
    std::string input(size, '\0');
    std::cin.read(input.data(), static_cast<std::streamsize>(size));
    Dump dump;
    pagefold::tokenize(input, dump);
    std::cout << "END\n";
  }
  return 0;
}
