#include "svm_line_parser.h"

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <string_view>

namespace svmrunner {

namespace {

// LIBSVM splits a line with strtok, switching delimiters between tokens (" \t" around the label
// and values, ":" before each index). Its quirks decide which lines are accepted, so this cursor
// keeps strtok's rules: skip leading delimiters, end the token at the next delimiter (overwritten
// with '\0' so the token can go to strtod/strtol) and resume just after it.
struct TokenCursor {
  char* next;
  char* end;
};

char* nextToken(TokenCursor& cursor, std::string_view delimiters) {
  char* start = cursor.next;
  while (start < cursor.end && delimiters.find(*start) != std::string_view::npos) ++start;
  if (start == cursor.end) {
    cursor.next = cursor.end;
    return nullptr;
  }
  char* stop = start;
  while (stop < cursor.end && delimiters.find(*stop) == std::string_view::npos) ++stop;
  if (stop < cursor.end) {
    *stop = '\0';
    cursor.next = stop + 1;
  } else {
    cursor.next = cursor.end;
  }
  return start;
}

bool isSpace(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }

}  // namespace

void dropCarriageReturn(std::string& line) {
  if (!line.empty() && line.back() == '\r') line.pop_back();
}

std::optional<double> parseSvmLine(std::string& line, std::vector<svm_node>& nodes) {
  // strtok would stop at a NUL byte and silently drop the rest of the line.
  if (line.find('\0') != std::string::npos) return std::nullopt;
  TokenCursor cursor{line.data(), line.data() + line.size()};

  char* label = nextToken(cursor, " \t\n");
  if (label == nullptr) return std::nullopt;  // an empty line
  char* endOfNumber = nullptr;
  const double target = std::strtod(label, &endOfNumber);
  if (endOfNumber == label || *endOfNumber != '\0') return std::nullopt;

  // Indices must rise strictly; -1 lets a precomputed kernel's index 0 come first.
  int lastIndex = -1;
  while (true) {
    char* index = nextToken(cursor, ":");
    char* value = nextToken(cursor, " \t");
    // A trailing piece without ':' (the blank before the line break, or anything else) ends the
    // line, as in LIBSVM.
    if (value == nullptr) break;

    errno = 0;
    const long parsedIndex = std::strtol(index, &endOfNumber, 10);
    const int nodeIndex = static_cast<int>(parsedIndex);
    if (endOfNumber == index || errno != 0 || *endOfNumber != '\0' || nodeIndex <= lastIndex) return std::nullopt;
    lastIndex = nodeIndex;

    errno = 0;
    const double nodeValue = std::strtod(value, &endOfNumber);
    if (endOfNumber == value || errno != 0 || (*endOfNumber != '\0' && !isSpace(*endOfNumber))) return std::nullopt;
    nodes.push_back(svm_node{nodeIndex, nodeValue});
  }
  nodes.push_back(svm_node{-1, 0.0});
  return target;
}

}  // namespace svmrunner
