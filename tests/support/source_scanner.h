#pragma once
// A small reader of C++ source for the source-rule tests: it blanks comments, literals and
// preprocessor lines, then follows the braces to find function bodies and the declarations made
// at namespace, class and function scope. It is no parser: it knows what the project's own code
// needs, and its tests (source_scanner_test.cpp) pin down what it recognises.
#include <algorithm>
#include <cctype>
#include <cstddef>
#include <regex>
#include <string>
#include <string_view>
#include <vector>

namespace corvid::testing {

// The text with every comment, every string and character literal's content and every
// preprocessor line replaced by spaces. Quotes stay, as do line ends, so offsets and line numbers
// are those of the original.
std::string blankCommentsAndLiterals(std::string_view text);

enum class ScopeKind { kNamespace, kClass, kFunction };

// A declaration or statement, its text on one line with nested braces shown as "{}" (outside
// function bodies), and the scope it stands in.
struct SourceStatement {
  int line = 0;
  ScopeKind scope = ScopeKind::kNamespace;
  std::string text;
};

struct FunctionSpan {
  std::string name;
  int firstLine = 0;  // the first line of its signature (template line included)
  int lastLine = 0;   // the line of its closing brace
  int lines() const { return lastLine - firstLine + 1; }
};

struct SourceOutline {
  std::vector<FunctionSpan> functions;  // outermost functions only: lambdas count within theirs
  std::vector<SourceStatement> statements;
  bool balanced = true;  // every brace and parenthesis closed, none closed too often
};

// Reads text that blankCommentsAndLiterals has already blanked.
SourceOutline outlineSource(std::string_view code);

// For a declaration at namespace or class scope, or a statement in a function body: the name of
// the variable it defines when that variable can change (not const, constexpr or thread_local,
// not a function, type or alias), or empty. In a function body only static variables count.
std::string mutableStaticVariable(const SourceStatement& statement);

// ---------------------------------------------------------------------------------------------

namespace scanner_detail {

inline bool isIdentifierChar(char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_'; }

inline void blankRange(std::string& code, std::size_t from, std::size_t to) {
  for (std::size_t i = from; i < to && i < code.size(); ++i) {
    if (code[i] != '\n') code[i] = ' ';
  }
}

// A quote after a digit of a number is a digit separator (1'000), not a character literal.
inline bool isDigitSeparator(std::string_view text, std::size_t quote) {
  std::size_t start = quote;
  while (start > 0 && (isIdentifierChar(text[start - 1]) || text[start - 1] == '\'')) --start;
  return start < quote && std::isdigit(static_cast<unsigned char>(text[start])) != 0;
}

// End (one past the closing quote) of the literal opening at `at`, blanking its content.
inline std::size_t skipQuoted(std::string_view text, std::string& code, std::size_t at) {
  const char quote = text[at];
  std::size_t i = at + 1;
  while (i < text.size() && text[i] != quote && text[i] != '\n') i += text[i] == '\\' ? 2 : 1;
  const std::size_t end = std::min(i, text.size());
  blankRange(code, at + 1, end);
  return end + 1;
}

// R"delimiter( ... )delimiter": everything between the outer quotes is blanked.
inline std::size_t skipRawString(std::string_view text, std::string& code, std::size_t quote) {
  const std::size_t open = text.find('(', quote);
  if (open == std::string_view::npos) return text.size();
  const std::string closing = ")" + std::string(text.substr(quote + 1, open - quote - 1)) + "\"";
  const std::size_t close = text.find(closing, open);
  const std::size_t end = close == std::string_view::npos ? text.size() : close + closing.size();
  blankRange(code, quote + 1, end - 1);
  return end;
}

// Blanks a preprocessor line starting at `at`, with its backslash continuations.
inline std::size_t skipDirective(std::string_view text, std::string& code, std::size_t at) {
  std::size_t end = at;
  for (;;) {
    end = text.find('\n', end);
    if (end == std::string_view::npos) end = text.size();
    if (end == text.size() || end == 0 || text[end - 1] != '\\') break;
    ++end;
  }
  blankRange(code, at, end);
  return end;
}

inline bool startsLine(std::string_view text, std::size_t at) {
  for (std::size_t i = at; i > 0; --i) {
    if (text[i - 1] == '\n') return true;
    if (text[i - 1] != ' ' && text[i - 1] != '\t') return false;
  }
  return true;
}

}  // namespace scanner_detail

inline std::string blankCommentsAndLiterals(std::string_view text) {
  using namespace scanner_detail;
  std::string code(text);
  std::size_t i = 0;
  while (i < text.size()) {
    const char c = text[i];
    const char next = i + 1 < text.size() ? text[i + 1] : '\0';
    if (c == '/' && next == '/') {
      const std::size_t end = std::min(text.find('\n', i), text.size());
      blankRange(code, i, end);
      i = end;
    } else if (c == '/' && next == '*') {
      const std::size_t close = text.find("*/", i + 2);
      const std::size_t end = close == std::string_view::npos ? text.size() : close + 2;
      blankRange(code, i, end);
      i = end;
    } else if (c == '#' && startsLine(text, i)) {
      i = skipDirective(text, code, i);
    } else if (c == '"' && i > 0 && text[i - 1] == 'R' &&
               (i < 2 || !isIdentifierChar(text[i - 2]) || text[i - 2] == 'u' || text[i - 2] == '8' ||
                text[i - 2] == 'L' || text[i - 2] == 'U')) {
      i = skipRawString(text, code, i);
    } else if (c == '"' || (c == '\'' && !isDigitSeparator(text, i))) {
      i = skipQuoted(text, code, i);
    } else {
      ++i;
    }
  }
  return code;
}

namespace scanner_detail {

// The text with the content of every parenthesis pair removed: "f(int a, g(b))" -> "f()".
inline std::string collapseParentheses(std::string_view text) {
  std::string out;
  int depth = 0;
  for (char c : text) {
    if (c == '(') {
      if (depth++ == 0) out += c;
    } else if (c == ')') {
      if (depth > 0 && --depth == 0) out += c;
    } else if (depth == 0) {
      out += c;
    }
  }
  return out;
}

// Operator names hold characters ('=', '<', '(') that would read as initialisers or groups.
inline std::string withoutOperatorNames(const std::string& text) {
  static const std::regex kOperator(R"(\boperator\s*(\(\)|\[\]|[^\s(]+))");
  return std::regex_replace(text, kOperator, "operator_");
}

// Removes template argument lists: "std::map<int, std::vector<T>> x" -> "std::map x".
inline std::string withoutTemplateArguments(std::string_view text) {
  std::string out;
  int depth = 0;
  for (char c : text) {
    if (c == '<') {
      ++depth;
    } else if (c == '>' && depth > 0) {
      --depth;
    } else if (depth == 0) {
      out += c;
    }
  }
  return out;
}

inline std::string trimmed(std::string_view text) {
  std::size_t first = 0;
  std::size_t last = text.size();
  while (first < last && std::isspace(static_cast<unsigned char>(text[first])) != 0) ++first;
  while (last > first && std::isspace(static_cast<unsigned char>(text[last - 1])) != 0) --last;
  return std::string(text.substr(first, last - first));
}

// The end of a function signature, parameters collapsed: "()", then qualifiers, a trailing
// return type, or a constructor's initializer list.
inline const std::regex& functionTail() {
  static const std::regex kTail(R"(\(\)\s*((const|volatile|noexcept|override|final|mutable|&&|&|noexcept\(\))\s*)*)"
                                R"((->[^=;{}]*)?)"
                                R"((:\s*[\w:<>]+\s*(\(\)|\{\})(\s*,\s*[\w:<>]+\s*(\(\)|\{\}))*\s*)?$)");
  return kTail;
}

// Position of the first '=' that is an initialiser (not ==, <=, >=, !=), or npos.
inline std::size_t initialiserPosition(const std::string& text) {
  int angle = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '<') ++angle;
    if (text[i] == '>' && angle > 0) --angle;
    if (text[i] != '=' || angle > 0) continue;
    const char before = i > 0 ? text[i - 1] : ' ';
    const char after = i + 1 < text.size() ? text[i + 1] : ' ';
    if (before != '=' && before != '!' && before != '<' && before != '>' && after != '=') return i;
  }
  return std::string::npos;
}

inline bool looksLikeFunction(const std::string& statement) {
  const std::string text = collapseParentheses(withoutOperatorNames(statement));
  const std::size_t initialiser = initialiserPosition(text);
  const std::string signature = trimmed(initialiser == std::string::npos ? text : text.substr(0, initialiser));
  return std::regex_search(signature, functionTail());
}

enum class BraceKind { kNamespace, kClass, kFunction, kOther };

// What a '{' opens at namespace or class scope, judged by the declaration before it.
inline BraceKind braceKindAfter(const std::string& statement) {
  static const std::regex kNamespaceHead(R"(^(inline\s+)?namespace\b|^extern\s*"\s*"$)");
  static const std::regex kEnumHead(R"(\benum\b)");
  static const std::regex kClassHead(R"(\b(class|struct|union)\b)");
  const std::string text = trimmed(statement);
  const std::string collapsed = collapseParentheses(withoutOperatorNames(text));
  if (std::regex_search(collapsed, functionTail())) return BraceKind::kFunction;
  if (std::regex_search(text, kNamespaceHead)) return BraceKind::kNamespace;
  if (initialiserPosition(collapsed) != std::string::npos || std::regex_search(text, kEnumHead)) {
    return BraceKind::kOther;
  }
  if (std::regex_search(text, kClassHead)) return BraceKind::kClass;
  return BraceKind::kOther;
}

// The name a function signature declares: the identifier before its parameter list.
inline std::string functionName(const std::string& statement) {
  const std::string text = collapseParentheses(withoutOperatorNames(statement));
  std::smatch match;
  std::size_t paren = text.find("()");
  if (std::regex_search(text, match, functionTail())) paren = static_cast<std::size_t>(match.position(0));
  std::size_t start = paren;
  while (start > 0 && (isIdentifierChar(text[start - 1]) || text[start - 1] == ':' || text[start - 1] == '~')) --start;
  return text.substr(start, paren - start);
}

// One open scope whose statements are recorded (namespace, class or function body).
struct Frame {
  ScopeKind scope;
  std::string statement;  // the statement being read, nested groups collapsed outside functions
  std::size_t statementStart = std::string::npos;
  int parentheses = 0;
  bool lambdaInitialiser = false;  // the statement's '{' opened a lambda's body inside an initialiser
};

class Outliner {
 public:
  explicit Outliner(std::string_view code) : code_(code) {
    for (std::size_t i = 0; i < code_.size(); ++i) {
      if (code_[i] == '\n') lineEnds_.push_back(i);
    }
  }

  SourceOutline run() {
    frames_.push_back({ScopeKind::kNamespace, {}, std::string::npos, 0, false});
    for (at_ = 0; at_ < code_.size(); ++at_) step(code_[at_]);
    outline_.balanced = outline_.balanced && frames_.size() == 1 && frames_.back().parentheses == 0;
    return outline_;
  }

 private:
  struct OpenFunction {
    std::size_t depth;  // frames_.size() once its body frame was pushed
    FunctionSpan span;
  };

  int lineOf(std::size_t offset) const {
    return 1 + static_cast<int>(std::lower_bound(lineEnds_.begin(), lineEnds_.end(), offset) - lineEnds_.begin());
  }

  void append(Frame& frame, char c) {
    if (frame.statementStart == std::string::npos) {
      if (std::isspace(static_cast<unsigned char>(c)) != 0) return;
      frame.statementStart = at_;
    }
    frame.statement += c == '\n' || c == '\t' ? ' ' : c;
  }

  void endStatement(Frame& frame) {
    const std::string text = trimmed(frame.statement);
    if (!text.empty()) outline_.statements.push_back({lineOf(frame.statementStart), frame.scope, text});
    frame.statement.clear();
    frame.statementStart = std::string::npos;
    frame.lambdaInitialiser = false;
  }

  // Skips a group of braces that holds no statements of its own (an initialiser, an enum body)
  // and shows it as "{}" in the statement.
  void skipOtherBraces(Frame& frame) {
    int depth = 0;
    for (; at_ < code_.size(); ++at_) {
      if (code_[at_] == '{') ++depth;
      if (code_[at_] == '}' && --depth == 0) break;
    }
    if (depth != 0) outline_.balanced = false;
    append(frame, '{');
    frame.statement += '}';
  }

  void openBrace(Frame& frame) {
    if (frame.scope == ScopeKind::kFunction) {
      endStatement(frame);
      frames_.push_back({ScopeKind::kFunction, {}, std::string::npos, 0, false});
      return;
    }
    const BraceKind kind = frame.parentheses > 0 ? BraceKind::kOther : braceKindAfter(frame.statement);
    if (kind == BraceKind::kOther) return skipOtherBraces(frame);
    if (kind == BraceKind::kFunction) {
      const std::string collapsed = collapseParentheses(withoutOperatorNames(frame.statement));
      const bool initialiser = initialiserPosition(collapsed) != std::string::npos;
      const std::size_t start = frame.statementStart == std::string::npos ? at_ : frame.statementStart;
      functions_.push_back({frames_.size() + 1, {functionName(frame.statement), lineOf(start), 0}});
      if (initialiser) {
        frame.lambdaInitialiser = true;  // a lambda: the declaration goes on after its body
      } else {
        endStatement(frame);
      }
      frames_.push_back({ScopeKind::kFunction, {}, std::string::npos, 0, false});
      return;
    }
    endStatement(frame);
    frames_.push_back(
        {kind == BraceKind::kClass ? ScopeKind::kClass : ScopeKind::kNamespace, {}, std::string::npos, 0, false});
  }

  void closeBrace() {
    if (frames_.size() == 1) {
      outline_.balanced = false;
      return;
    }
    Frame closing = std::move(frames_.back());
    endStatement(closing);
    frames_.pop_back();
    if (closing.parentheses != 0) outline_.balanced = false;
    if (!functions_.empty() && functions_.back().depth == frames_.size() + 1) {
      functions_.back().span.lastLine = lineOf(at_);
      outline_.functions.push_back(functions_.back().span);
      functions_.pop_back();
    }
    Frame& parent = frames_.back();
    if (parent.lambdaInitialiser) {
      parent.statement += "{}";
    } else if (closing.scope == ScopeKind::kClass) {
      parent.statement = "class{}";  // a type's definition: a name after it would be a variable
      parent.statementStart = at_;
    }
  }

  void step(char c) {
    Frame& frame = frames_.back();
    if (c == '{') return openBrace(frame);
    if (c == '}') return closeBrace();
    if (c == '(') ++frame.parentheses;
    if (c == ')' && --frame.parentheses < 0) outline_.balanced = false;
    if (c == ';' && frame.parentheses == 0) return endStatement(frame);
    append(frame, c);
    // An access specifier ends nothing but must not start the next member's statement.
    static const std::regex kAccess(R"(^\s*(public|private|protected)\s*:$)");
    if (c == ':' && frame.scope == ScopeKind::kClass && std::regex_match(frame.statement, kAccess)) {
      frame.statement.clear();
      frame.statementStart = std::string::npos;
    }
  }

  std::string_view code_;
  std::vector<std::size_t> lineEnds_;  // offsets of the line feeds, for line numbers
  std::size_t at_ = 0;
  std::vector<Frame> frames_;
  std::vector<OpenFunction> functions_;
  SourceOutline outline_;
};

}  // namespace scanner_detail

inline SourceOutline outlineSource(std::string_view code) { return scanner_detail::Outliner(code).run(); }

inline std::string mutableStaticVariable(const SourceStatement& statement) {
  using namespace scanner_detail;
  static const std::regex kNotAVariable(
      R"(^(__extension__\s+)?(using|typedef|namespace|static_assert|friend|extern|return|template\s*<[^;]*>\s*(class|struct|union))\b)");
  static const std::regex kTemplatePrefix(R"(^template\s*<[^{};]*?>\s*)");
  static const std::regex kTypeOnly(R"(^(class|struct|union|enum)\b[^=]*$)");
  std::string text = std::regex_replace(trimmed(statement.text), kTemplatePrefix, "");
  if (text.starts_with("class{}")) {
    if (trimmed(text.substr(7)).empty()) return {};  // a type's definition
    text = "DefinedType " + text.substr(7);          // ... with a variable of that type after it
  }
  if (statement.scope != ScopeKind::kNamespace && !std::regex_search(text, std::regex(R"(^(static|thread_local)\b)"))) {
    return {};
  }
  if (std::regex_search(text, kNotAVariable) || std::regex_search(text, kTypeOnly)) return {};
  text = collapseParentheses(withoutOperatorNames(text));
  const std::size_t initialiser = initialiserPosition(text);
  std::string declarator = trimmed(initialiser == std::string::npos ? text : text.substr(0, initialiser));
  if (std::regex_search(declarator, functionTail())) {
    return {};  // a function's declaration, "= default" and "= delete" included
  }
  if (declarator.ends_with("{}")) declarator = trimmed(declarator.substr(0, declarator.size() - 2));
  declarator = std::regex_replace(withoutTemplateArguments(declarator), std::regex(R"(\[[^\]]*\])"), "");
  if (std::regex_search(declarator, std::regex(R"(\b(constexpr|thread_local)\b)"))) return {};
  const std::size_t pointer = declarator.find_last_of('*');
  const std::string qualified = pointer == std::string::npos ? declarator : declarator.substr(pointer);
  if (std::regex_search(qualified, std::regex(R"(\bconst\b)"))) return {};
  std::size_t nameStart = declarator.size();
  while (nameStart > 0 && isIdentifierChar(declarator[nameStart - 1])) --nameStart;
  return nameStart == declarator.size() ? declarator : declarator.substr(nameStart);
}

}  // namespace corvid::testing
