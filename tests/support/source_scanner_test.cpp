// The source scanner behind the source-rule tests, on small texts whose answer is known: a rule
// built on a scanner that misreads code would pass or fail for the wrong reasons.
#include "tests/support/source_scanner.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace corvid::testing {
namespace {

std::vector<FunctionSpan> functionsIn(std::string_view text) {
  const SourceOutline outline = outlineSource(blankCommentsAndLiterals(text));
  EXPECT_TRUE(outline.balanced) << text;
  return outline.functions;
}

// "name@line" for every mutable variable the scanner finds.
std::vector<std::string> mutableVariablesIn(std::string_view text) {
  std::vector<std::string> found;
  for (const SourceStatement& statement : outlineSource(blankCommentsAndLiterals(text)).statements) {
    const std::string name = mutableStaticVariable(statement);
    if (!name.empty()) found.push_back(name + "@" + std::to_string(statement.line));
  }
  return found;
}

TEST(SourceScanner, BlanksCommentsLiteralsAndDirectivesKeepingLines) {
  const std::string text =
      "#define X(a) \\\n"
      "  { a }\n"
      "int a = 1'000; // { comment\n"
      "/* { \n } */ char c = '{', q = '\"';\n"
      "const char* s = \"}\\\"{\";\n"
      "auto r = R\"x(\")\" })x\";\n";
  const std::string expected = std::string(14, ' ') + "\n" + std::string(7, ' ') + "\n" +  // the directive
                               "int a = 1'000;" + std::string(13, ' ') + "\n" +            // the comment
                               std::string(5, ' ') + "\n" + std::string(6, ' ') +          // the block comment
                               "char c = ' ', q = ' ';\n"                                  // character literals
                               "const char* s = \"    \";\n"                               // escapes inside
                               "auto r = R\"" +
                               std::string(9, ' ') + "\";\n";  // the raw string
  EXPECT_EQ(blankCommentsAndLiterals(text), expected);
}

TEST(SourceScanner, FindsFunctionsWithTheirSignatureAndClosingLines) {
  const std::string text =
      "namespace a {\n"                                                           // 1
      "// int notAFunction() {\n"                                                 // 2
      "int f(int x) {\n"                                                          // 3
      "  auto g = [](int y) {\n"                                                  // 4
      "    return y + '}';\n"                                                     // 5
      "  };\n"                                                                    // 6
      "  return g(x);\n"                                                          // 7
      "}\n"                                                                       // 8
      "struct S : Base {\n"                                                       // 9
      "  S() : a_(1), b_{2} {}\n"                                                 // 10
      "  int get() const noexcept override {\n"                                   // 11
      "    return a_;\n"                                                          // 12
      "  }\n"                                                                     // 13
      "  auto h() -> int { return 0; }\n"                                         // 14
      " private:\n"                                                               // 15
      "  int a_;\n"                                                               // 16
      "};\n"                                                                      // 17
      "const std::map<int, int> kMap = {{1, 2}};\n"                               // 18
      "template <typename T>\n"                                                   // 19
      "T twice(T x)\n"                                                            // 20
      "{\n"                                                                       // 21
      "  return x + x;\n"                                                         // 22
      "}\n"                                                                       // 23
      "bool operator==(const S& l, const S& r) { return l.get() == r.get(); }\n"  // 24
      "S::~S() {}\n"                                                              // 25
      "}  // namespace a\n";
  const std::vector<FunctionSpan> functions = functionsIn(text);
  std::vector<std::string> found;
  for (const FunctionSpan& function : functions) {
    found.push_back(function.name + " " + std::to_string(function.firstLine) + "-" + std::to_string(function.lastLine));
  }
  EXPECT_EQ(found, (std::vector<std::string>{"f 3-8", "S 10-10", "get 11-13", "h 14-14", "twice 19-23",
                                             "operator_ 24-24", "S::~S 25-25"}));
}

TEST(SourceScanner, CountsAFunctionFromItsSignatureLineToItsClosingBrace) {
  const std::string text =
      "void longOne(int a,\n"
      "             int b) {\n"
      "  if (a) {\n"
      "    b = 1;\n"
      "  }\n"
      "}\n";
  const std::vector<FunctionSpan> functions = functionsIn(text);
  ASSERT_EQ(functions.size(), 1u);
  EXPECT_EQ(functions[0].lines(), 6);
}

TEST(SourceScanner, ReportsUnbalancedBraces) {
  EXPECT_FALSE(outlineSource(blankCommentsAndLiterals("void f() {\n")).balanced);
  EXPECT_FALSE(outlineSource(blankCommentsAndLiterals("}\n")).balanced);
  EXPECT_TRUE(outlineSource(blankCommentsAndLiterals("void f() { g(\"{\"); }\n")).balanced);
}

TEST(SourceScanner, FindsMutableVariablesAtNamespaceScope) {
  const std::string text =
      "namespace {\n"
      "int counter = 0;\n"  // 2: mutable
      "const int kLimit = 1;\n"
      "constexpr double kStep = 2.0;\n"
      "const char* kName = \"x\";\n"  // 5: the pointer can change
      "const char* const kFixedName = \"x\";\n"
      "std::vector<const char*> names;\n"   // 7: mutable
      "static std::atomic<int> hits{0};\n"  // 8: mutable
      "thread_local std::string buffer;\n"
      "void declared(int value);\n"
      "static int helper(int value) { return value; }\n"
      "using Alias = int;\n"
      "struct Forward;\n"
      "struct Defined {\n"
      "  int member = 0;\n"
      "} global;\n"  // 16: mutable
      "extern int elsewhere;\n"
      "auto lambda = [](int v) { return v; };\n"  // 18: mutable
      "const auto kLambda = [](int v) { return v; };\n"
      "enum class Kind { kA = 1, kB = 2 };\n"
      "const std::map<int, int> kTable = {{1, 2}};\n"
      "}  // namespace\n";
  EXPECT_EQ(mutableVariablesIn(text),
            (std::vector<std::string>{"counter@2", "kName@5", "names@7", "hits@8", "global@16", "lambda@18"}));
}

TEST(SourceScanner, FindsStaticMutableLocalsAndMembers) {
  const std::string text =
      "int next() {\n"
      "  static int calls = 0;\n"  // 2: mutable
      "  static const int kMost = 3;\n"
      "  static constexpr int kLeast = 1;\n"
      "  static thread_local std::string scratch;\n"
      "  int local = 0;\n"
      "  for (int i = 0; i < 2; ++i) { static std::string last; }\n"  // 7: mutable
      "  return static_cast<int>(++calls);\n"
      "}\n"
      "class Registry {\n"
      " public:\n"
      "  static Registry& instance();\n"
      "  static int created;\n"  // 13: mutable
      "  static const int kCap = 4;\n"
      "  int member = 0;\n"
      "  Registry& operator=(const Registry&) = delete;\n"
      "};\n";
  EXPECT_EQ(mutableVariablesIn(text), (std::vector<std::string>{"calls@2", "last@7", "created@13"}));
}

}  // namespace
}  // namespace corvid::testing
