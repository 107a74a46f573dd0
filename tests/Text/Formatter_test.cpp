#include "Text/Formatter.h"
#include "Text/Lexer.h"

#include <algorithm>
#include <random>
#include <sstream>

#include <gmock/gmock.h>

using namespace Qcf::Text; // NOLINT(google-build-using-namespace): what is under test

namespace {

/// The text laid out; "ERROR: " and the message where it is not.
String laidOut(String const & text) {
    Sources sources;
    Messages messages;
    U32 const file = sources.add("a.qcf", text);
    auto const result = formatText(sources, file, messages);
    return result ? *result : "ERROR: " + lineOf(messages.all().at(0), sources);
}

struct Piece {
    TokenKind kind;
    String text;
    bool startsLine;
    bool hasGap; ///< before a parenthesis behind a name, where it tells a call from a group

    bool operator==(Piece const &) const = default;
};

/// What a reader sees of a text. A line may begin with any statement, so that a first token behind
/// `;` and at the edges of braces, or of an entry, is like any other.
std::vector<Piece> seen(String const & text) {
    static constexpr std::string_view firsts[] = {"}", "permit", "deny", "seq", "v4", "v6"};
    std::vector<Piece> pieces;
    Lexer lexer(text);
    for (Token token = lexer.next(); token.kind != TokenKind::end; token = lexer.next()) {
        String piece = text.substr(token.begin, token.end - token.begin);
        if (token.kind == TokenKind::comment) {
            piece.erase(piece.find_last_not_of(" \t\r") + 1);
        }
        String const before = pieces.empty() ? "" : pieces.back().text;
        bool const begins = before == "{" || before == ";" || piece.find('/') != String::npos ||
                            std::ranges::count(firsts, piece) != 0;
        // Behind these a `(` is no call's, with a blank or without.
        constexpr std::string_view operators[] = {"and",  "or",   "not", "if", "return",
                                                  "exit", "else", "is",  "in", "block"};
        bool const isOperator =
            !pieces.empty() && std::ranges::count(operators, pieces.back().text);
        bool const isName =
            !isOperator && !pieces.empty() &&
            (pieces.back().kind == TokenKind::word || pieces.back().kind == TokenKind::string);
        pieces.push_back({token.kind, piece,
                          token.startsLine && (!begins || token.kind == TokenKind::comment),
                          token.afterGap && piece == "(" && isName});
    }
    return pieces;
}

void expectLaws(String const & text) {
    String const once = laidOut(text);
    if (once.starts_with("ERROR")) {
        return;
    }
    EXPECT_TRUE(seen(text) == seen(once)) << text << "\n--- became\n" << once;
    EXPECT_EQ(laidOut(once), once) << "of\n" << text;
    for (char const * never : {" \n", "\t\n", "\r\n", "\n\n\n", "{\n\n"}) {
        EXPECT_EQ(once.find(never), String::npos) << text;
    }
}

struct Case {
    char const * name;
    char const * text;
    char const * wanted;
};

/// A whole policy of the pieces that layout tells apart.
constexpr char const * policy = R"(## What we take from customers.

import "bogons.qcf"
const OURS = { 65000:1, 65000:2 }
list prefix_list BOGONS v4 covered {
  permit 0.0.0.0/8        # this network
  permit 10.0.0.0/8
  permit 100.64.0.0/10    # carrier-grade NAT
                          # of providers
}
list roa_table RPKI { 1.1.1.0/24 max 24 AS13335  8.8.8.0/24 max 24 AS15169 }
list dynamic_prefix_list MEMBERS { vrfs { 1 } v4 { permit 192.0.2.0/24 le 26  seq 7 deny 1.0.0.0/8 } v6 {} }

@features("a")
function customer(int n, prefix_list nets) { # called for each
  # first things first
  if not ( prefix matches nets ?? true ) and med in { 1..5, 7 } { return false because no-such-net }
  else if n is 4 { as_path_remove({}, [ 64512 ], []) }
  if community has any OURS
      and med > -5 {
    community add { 65000:3,
      65000:4 }
  } else {
  }
  @IntAssign(lhs: med, rhs: @IntImmediate(value: 5, negative: false))
  helper(1)@7
  return true
}

test "a route" customer(1) {
  bind { roa_table RPKI { 8.8.8.0/24 max 24 AS15169 } }
  route { prefix 8.8.8.0/24; community {}; session { outbound true } }
  expect accept { med is 1; changes only { med } }
}
)";

} // namespace

TEST(Formatter, LeavesWhatIsLaidOut) {
    EXPECT_EQ(laidOut(policy), policy);
    EXPECT_EQ(laidOut(""), "");
    EXPECT_EQ(laidOut("# only a comment\n"), "# only a comment\n");
}

TEST(Formatter, SetsBlanksAndLines) {
    Case const cases[] = {
        {"blanks", "import  \"a\" ;\tconst A={1 ,2,}\r\n\r\n\r\n\r\nconst B = [ ]  # b \t\r\n\n",
         "import \"a\";\nconst A = { 1, 2, }\n\nconst B = []  # b\n"},
        {"indentation",
         "function f( int a ,int b){\n\nif a{\nb=1\n\n}\n      else{c()}\n  return  (a or b)\n\n}",
         "function f(int a, int b) {\n  if a {\n    b = 1\n  }\n  else { c() }\n  return ( a or b "
         ")\n}\n"},
        {"statements of a block over several lines",
         "function f() { a(); b() # two\n  if c { d(); e() }; g() }",
         "function f() {\n  a();\n  b() # two\n  if c { d(); e() };\n  g()\n}\n"},
        {"entries of a list",
         "list prefix_list P v4 { permit 10.0.0.0/8 permit ::/0 ge 8,deny 1.0.0.0/8 }\n"
         "list roa_table R {\n1.0.0.0/8 max 8 AS1 2.0.0.0/8 max 9 AS2 }",
         "list prefix_list P v4 { permit 10.0.0.0/8  permit ::/0 ge 8, deny 1.0.0.0/8 }\n"
         "list roa_table R {\n  1.0.0.0/8 max 8 AS1\n  2.0.0.0/8 max 9 AS2\n}\n"},
        {"continued statements",
         "function f() {\nif a\nand b or\nc {\nd\n}\nreturn x\nbecause y\nz\nis 5\nnot a\n}",
         "function f() {\n  if a\n      and b or\n      c {\n    d\n  }\n  return x\n      because "
         "y\n"
         "  z\n      is 5\n  not a\n}\n"},
        {"continued values", "const A = {\n1,\n# two\n2\n}\nfunction f() { return (\na or\nb) }\n",
         "const A = {\n  1,\n  # two\n  2\n}\nfunction f() {\n  return (\n    a or\n    b )\n}\n"},
        {"a call is no group", "function f() {\n  g (1 )\n  g( 1)\n  \"h\" ()\n}",
         "function f() {\n  g ( 1 )\n  g(1)\n  \"h\" ()\n}\n"},
        {"numbers keep their place", "function f() { g()@7; g() @ 7; a matches B@3 }",
         "function f() { g()@7; g() @ 7; a matches B@3 }\n"},
        {"comments keep their columns",
         "function f() { #  x\n      #  y\na #1\n\n\n    bc   = 1    # s\n    b  =1       # t\n    "
         "# u\n}",
         "function f() { #  x\n  #  y\n  a #1\n\n  bc = 1    # s\n  b = 1     # t\n  # u\n}\n"},
        {"words that would run together",
         "function f() { @A(lhs : :: , a:: : b , \"v\" :1) ; b in { 1 .. 5 , 5 .. ::1 } }",
         "function f() { @A(lhs: ::, a:: : b, \"v\": 1); b in { 1..5, 5..::1 } }\n"},
    };
    for (Case const & one : cases) {
        EXPECT_EQ(laidOut(one.text), one.wanted) << one.name;
        expectLaws(one.text);
    }
}

TEST(Formatter, BreaksTheBlocksOfALineThatIsTooWide) {
    String const condition = "rpki.origin_as_validity is not_found and not prefix matches A-LIST";
    String const wide = "function f() {\n  if " + condition +
                        " { a(); b() } else if c {} else { return false because neither }\n}\n";
    EXPECT_EQ(laidOut(wide),
              "function f() {\n  if " + condition +
                  " {\n    a();\n    b()\n  } else if c {} else {\n    return false because "
                  "neither\n  }\n}\n");
    expectLaws(wide);
    // Of the statements of such a block each is measured by itself.
    EXPECT_EQ(laidOut("function f() { if a { b }; " + condition + "; return " + condition + " }\n"),
              "function f() {\n  if a { b };\n  " + condition + ";\n  return " + condition +
                  "\n}\n");
    // 120 columns stay, one more does not; what stands behind in a comment does not count.
    for (std::size_t length = 100; length < 110; ++length) {
        String const name(length, 'n');
        String const line = "if " + name + " { return } # a comment";
        String const text = "function f() {\n  " + line + "\n}\n";
        bool const fits = line.size() + 2 - 12 <= 120;
        EXPECT_EQ(laidOut(text) == text, fits) << length;
        expectLaws(text);
    }
    // Sets are never broken.
    String const set = "const A = { " + String(200, '1') + ", " + String(200, '2') + " }\n";
    EXPECT_EQ(laidOut(set), set);
}

TEST(Formatter, RefusesWhatIsNoPolicyText) {
    Case const cases[] = {
        {"", "function f() {\n  a == b\n}", "ERROR: a.qcf:2:5: error: '==' is nothing that"},
        {"", "function f() {\n  \"a\n}", "ERROR: a.qcf:2:3: error: a text without its closing"},
        {"", "function f() {\n", "ERROR: a.qcf:1:14: error: nothing closes this '{'"},
        {"", "function f() { ]", "ERROR: a.qcf:1:16: error: wants '}', found ']'"},
        {"", "function f() { } )", "ERROR: a.qcf:1:18: error: ')' closes nothing"},
        {"", "{\"qcf\": \"aet/1\"}", "ERROR: a.qcf:1:1: error: a policy text begins with"},
    };
    for (Case const & one : cases) {
        EXPECT_THAT(laidOut(one.text), testing::StartsWith(one.wanted));
    }
    EXPECT_EQ(laidOut("test " + String(513, '(') + String(513, ')')),
              "ERROR: a.qcf:1:518: error: nested deeper than 512 levels");
    EXPECT_THAT(laidOut("test " + String(512, '{') + String(512, '}')),
                testing::StartsWith("test {"));
    EXPECT_THAT(laidOut("test " + String(100'000, '{')), testing::HasSubstr("deeper"));
}

/// Policies whose pieces stand in any order, with any blanks between them.
class Shuffler {
public:
    explicit Shuffler(U32 seed) : random_(seed), wide_(seed % 2 == 0) {}

    String text() {
        String text = "function f";
        String open;
        for (U32 i = 3 + below(120); i > 0; --i) {
            text += gap() + piece(open);
        }
        for (; !open.empty(); open.pop_back()) {
            text += gap() + open.back();
        }
        return text + gap();
    }

private:
    U32 below(std::size_t bound) { return static_cast<U32>(random_() % bound); }

    // Every other text has hardly any lines, so that those are wide.
    String gap() {
        static constexpr char const * gaps[] = {"",
                                                "",
                                                " ",
                                                " ",
                                                " ",
                                                "   ",
                                                "\t",
                                                "\n",
                                                "\r\n",
                                                "\n\n\n  ",
                                                " # c\n",
                                                "\n## d  \n",
                                                "       #e\r\n\t"};
        bool const isWide = wide_ && below(20) != 0;
        return gaps[below(isWide ? 7 : std::size(gaps))];
    }

    String piece(String & open) {
        static constexpr char const * words[] = {"function",
                                                 "list",
                                                 "const",
                                                 "test",
                                                 "route",
                                                 "session",
                                                 "bind",
                                                 "expect",
                                                 "permit",
                                                 "deny",
                                                 "seq",
                                                 "v4",
                                                 "if",
                                                 "else",
                                                 "return",
                                                 "not",
                                                 "and",
                                                 "in",
                                                 "has",
                                                 "any",
                                                 "add",
                                                 "only",
                                                 "because",
                                                 "block",
                                                 "f",
                                                 "a-b",
                                                 "\"s\"",
                                                 "\"x\\\ny\"",
                                                 "5",
                                                 "-5",
                                                 "..",
                                                 "...",
                                                 ":",
                                                 "::",
                                                 "*",
                                                 "1:2",
                                                 "65000:*",
                                                 "10.0.0.0/8",
                                                 "::1",
                                                 "2a00::",
                                                 ",",
                                                 ",",
                                                 ";",
                                                 ";",
                                                 ";",
                                                 "=",
                                                 "+=",
                                                 "<",
                                                 "??",
                                                 "@",
                                                 "@Class",
                                                 "AS5",

                                                 "med",
                                                 "community",
                                                 "local_preference",
                                                 "rpki.origin_as_validity"};
        U32 const kind = below(8);
        if (kind == 0 && !open.empty()) {
            String const closer(1, open.back());
            open.pop_back();
            return closer;
        }
        if (kind == 1) {
            U32 const which = below(5);
            open += which == 0 ? ')' : which == 1 ? ']' : '}';
            return which == 0 ? "(" : which == 1 ? "[" : "{";
        }
        return words[below(std::size(words))];
    }

    std::mt19937 random_;
    bool wide_;
};

TEST(Formatter, KeepsItsLawsOnTextsInAnyOrder) {
    U32 laid = 0;
    for (U32 seed = 0; seed < 3000 && !testing::Test::HasFailure(); ++seed) {
        String const text = Shuffler(seed).text();
        expectLaws(text);
        laid += laidOut(text).starts_with("ERROR") ? 0 : 1;
    }
    EXPECT_GE(laid, 2000U);
}

/// The text without brackets that close nothing, and with those that are missing at its end.
String paired(String const & text) {
    String result;
    String open;
    for (char const c : text) {
        bool const closes = c == '}' || c == ')' || c == ']';
        if (closes && (open.empty() || open.back() != c)) {
            continue;
        }
        result += c;
        if (closes) {
            open.pop_back();
        } else if (c == '{' || c == '(' || c == '[') {
            open += c == '{' ? '}' : c == '(' ? ')' : ']';
        }
    }
    return result + "\n" + String(open.rbegin(), open.rend());
}

TEST(Formatter, KeepsItsLawsOnShuffledLines) {
    std::vector<String> lines;
    std::istringstream stream{String(policy)};
    for (String line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    std::mt19937 random(7);
    for (U32 round = 0; round < 1000 && !testing::Test::HasFailure(); ++round) {
        for (std::size_t swaps = random() % 12; swaps > 0; --swaps) {
            std::swap(lines[random() % lines.size()], lines[random() % lines.size()]);
        }
        String text = "import \"x\"\n";
        for (String const & line : lines) {
            bool const isCode = line.find('#') == String::npos;
            text += line + (isCode && random() % 4 == 0 ? " " : "\n");
        }
        text = paired(text);
        EXPECT_FALSE(laidOut(text).starts_with("ERROR")) << laidOut(text);
        expectLaws(text);
    }
}
