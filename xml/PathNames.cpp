#include "xml/PathNames.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>

#include "platform/Ascii.h"

namespace tlk {
namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsQuote(char c) { return c == '"' || c == '\''; }
bool BeginsName(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' ||
         static_cast<unsigned char>(c) >= 0x80;
}
bool ContinuesName(char c) { return BeginsName(c) || IsDigit(c) || c == '-' || c == '.'; }

constexpr double kUnbounded = std::numeric_limits<double>::infinity();
constexpr double kMostCounted = 4294967296.0;
// Up to here every whole number is written with all its digits. Of others the compiler writes 16,
// which may be too many or too few.
constexpr double kMostWritten = 9007199254740992.0;

enum class Kind { kNodes, kTruth, kNumber, kText };

// What is known of an expression before anything is evaluated.
struct Operand {
  Kind kind = Kind::kNodes;
  bool ascii = false;        // as a text it is always ASCII
  bool whole = false;        // as a number it has no fraction, if it is one and finite
  double most = kUnbounded;  // and is no further than this from zero
};

Operand Number(bool whole, double most) { return {Kind::kNumber, true, whole, most}; }
Operand AsNumber(const Operand& one) { return Number(one.whole, one.most); }

constexpr Operand kTrueOrFalse = {Kind::kTruth, true, true, 1};

struct Operator {
  std::string_view text;
  int rank;
};

constexpr int kComparison = 3;
constexpr int kUnion = 6;
constexpr Operator kOperators[] = {
    {"or", 0}, {"and", 1}, {"!=", 2}, {"=", 2}, {"<=", kComparison}, {">=", 3},  {"<", 3},
    {">", 3},  {"+", 4},   {"-", 4},  {"*", 5}, {"div", 5},          {"mod", 5}, {"|", kUnion}};

Operand Combined(const Operator& by, const Operand& left, const Operand& right) {
  if (by.rank == kUnion) return {};
  if (by.rank <= kComparison) return kTrueOrFalse;
  const bool whole = left.whole && right.whole;
  if (by.text == "*") return Number(whole, left.most * right.most);
  if (by.text == "mod") return Number(whole, left.most);
  if (by.text == "div") return Number(false, right.whole ? left.most : kUnbounded);
  return Number(whole, left.most + right.most);
}

constexpr std::string_view kInNoNamespace = "[namespace-uri()='']";

// What stands for what the compiler answers wrongly; "$" is the argument.

// It compares each node with a truth value, instead of whether there are any.
constexpr std::string_view kBoolean = "boolean($)";

// It adds a half, which may round by itself. To double and to halve is exact.
constexpr std::string_view kRound = "ceiling(floor(($)*2)div 2)";

// It counts bytes: all of a character but the first are taken out before.
constexpr std::string_view kStringLength =
    "string-length(translate($,'"
    "\x80\x81\x82\x83\x84\x85\x86\x87\x88\x89\x8A\x8B\x8C\x8D\x8E\x8F"
    "\x90\x91\x92\x93\x94\x95\x96\x97\x98\x99\x9A\x9B\x9C\x9D\x9E\x9F"
    "\xA0\xA1\xA2\xA3\xA4\xA5\xA6\xA7\xA8\xA9\xAA\xAB\xAC\xAD\xAE\xAF"
    "\xB0\xB1\xB2\xB3\xB4\xB5\xB6\xB7\xB8\xB9\xBA\xBB\xBC\xBD\xBE\xBF"
    "',''))";

// It finds the default namespace for a text, and none for the prefix xml.
constexpr std::string_view kNamespaceUri =
    "concat(namespace-uri(($)[1][not(self::text()or self::comment()or "
    "self::processing-instruction()or starts-with(name(),'xml:'))]),"
    "substring('http://www.w3.org/XML/1998/namespace',1,36*starts-with(name($),'xml:')))";

// It finds no language for an attribute.
constexpr std::string_view kLang =
    "(ancestor-or-self::*/@xml:lang and starts-with("
    "concat(translate(ancestor-or-self::*[@xml:lang][1]/@xml:lang,"
    "'ABCDEFGHIJKLMNOPQRSTUVWXYZ','abcdefghijklmnopqrstuvwxyz'),'-'),"
    "concat(translate($,"
    "'ABCDEFGHIJKLMNOPQRSTUVWXYZ','abcdefghijklmnopqrstuvwxyz'),'-')))";

enum class Gives { kNodes, kTruth, kCount, kRounded, kNumber, kText };

struct Function {
  std::string_view name;
  Gives gives;
  std::uint32_t texts = 0;   // so many of its first arguments are made texts
  std::string_view as = {};  // what stands for it
  bool ofContext = false;    // and whether it may lack its argument, and takes the context node
};

constexpr std::uint32_t kAll = std::numeric_limits<std::uint32_t>::max();

constexpr Function kFunctions[] = {
    {"boolean", Gives::kTruth},
    {"ceiling", Gives::kRounded},
    {"concat", Gives::kText, kAll},
    {"contains", Gives::kTruth, kAll},
    {"count", Gives::kCount},
    {"false", Gives::kTruth},
    {"floor", Gives::kRounded},
    {"id", Gives::kNodes},
    {"lang", Gives::kTruth, kAll, kLang},
    {"last", Gives::kCount},
    {"local-name", Gives::kText},
    {"name", Gives::kText},
    {"namespace-uri", Gives::kText, 0, kNamespaceUri, true},
    {"normalize-space", Gives::kText, kAll},
    {"not", Gives::kTruth},
    {"number", Gives::kNumber},
    {"position", Gives::kCount},
    {"round", Gives::kRounded, 0, kRound},
    {"starts-with", Gives::kTruth, kAll},
    {"string", Gives::kText, kAll},
    {"string-length", Gives::kCount, kAll, kStringLength, true},
    {"substring", Gives::kText, 1},
    {"substring-after", Gives::kText, kAll},
    {"substring-before", Gives::kText, kAll},
    {"sum", Gives::kNumber},
    {"translate", Gives::kText, kAll},
    {"true", Gives::kTruth},
};

Operand Given(const Function& function, const Operand& first) {
  switch (function.gives) {
    case Gives::kNodes:
      return {};
    case Gives::kTruth:
      return kTrueOrFalse;
    case Gives::kCount:
      return Number(true, kMostCounted);
    case Gives::kRounded:
      return Number(true, first.most);
    case Gives::kNumber:
      return AsNumber(first);
    case Gives::kText:
      break;
  }
  return {Kind::kText};
}

bool IsNodeType(std::string_view name) {
  return name == "text" || name == "node" || name == "comment" || name == "processing-instruction";
}

// What calls that are put into each other may grow to.
constexpr std::size_t kMaxBoundLength = 64 * kMaxPathLength;

// Reads an expression and writes what answers it. After a failure nothing is left to be read.
class PathReader {
 public:
  PathReader(std::string_view path, std::string& bound) : m_path(path), m_bound(bound) {}

  BoundPath Bind() {
    Expression(0);
    Next();
    if (m_at < m_path.size()) Fail(BoundPath::kMalformed);
    if (m_result == BoundPath::kRightInAscii && !IsAscii(m_path)) Note(BoundPath::kLacking);
    return m_result;
  }

 private:
  Operand Expression(int limit) {
    const std::size_t start = m_bound.size();
    Operand left = Unary();
    for (const Operator* by = NextOperator(limit); by != nullptr; by = NextOperator(limit)) {
      const std::size_t end = m_bound.size();
      m_at += by->text.size();
      m_bound.append(" ").append(by->text).append(" ");
      const std::size_t behind = m_bound.size();
      const Operand right = Expression(by->rank + 1);
      if (by->rank == kComparison) {
        CompareAsTruth(right, left, behind, m_bound.size());
        CompareAsTruth(left, right, start, end);
      }
      left = Combined(*by, left, right);
    }
    return left;
  }

  void CompareAsTruth(const Operand& nodes, const Operand& with, std::size_t start,
                      std::size_t end) {
    if (nodes.kind == Kind::kNodes && with.kind == Kind::kTruth) Wrap(kBoolean, start, end);
  }

  const Operator* NextOperator(int limit) {
    const bool isWord = BeginsName(Next());
    const std::string_view rest = isWord ? Name() : m_path.substr(m_at);
    const auto* const by = std::ranges::find_if(kOperators, [&](const Operator& one) {
      return isWord ? rest == one.text : rest.starts_with(one.text);
    });
    return by != std::end(kOperators) && by->rank >= limit ? by : nullptr;
  }

  Operand Unary() {
    if (Next() != '-') return Path();
    Copy(1);
    Deepen();
    const Operand operand = Expression(kUnion);
    --m_nesting;
    return AsNumber(operand);
  }

  Operand Path() {
    if (BeginsPrimary()) {
      const Operand operand = Primary();
      if (Next() != '[' && Next() != '/') return operand;
      Predicates();
    } else if (Next() != '/' || Slashes() == 2 || BeginsStep()) {
      Step();
    }
    while (Next() == '/') {
      Slashes();
      Step();
    }
    return {};
  }

  std::size_t Slashes() {
    const std::size_t count = m_path.substr(m_at).starts_with("//") ? 2 : 1;
    Copy(count);
    return count;
  }

  bool BeginsStep() {
    const char c = Next();
    return BeginsName(c) || c == '.' || c == '@' || c == '*';
  }

  bool BeginsPrimary() {
    const char c = Next();
    if (BeginsName(c)) return BehindName().starts_with('(') && !IsNodeType(Name());
    return c == '(' || IsQuote(c) || BeginsNumber();
  }

  bool BeginsNumber() {
    const char c = Next();
    return IsDigit(c) || (c == '.' && Span(m_at + 1, IsDigit) > 0);
  }

  Operand Primary() {
    if (IsQuote(Next())) return Literal();
    if (BeginsNumber()) return NumberLiteral();
    if (Next() != '(') return Call();
    Copy(1);
    Deepen();
    const Operand operand = Expression(0);
    Close(')');
    --m_nesting;
    return operand;
  }

  Operand Literal() {
    const std::size_t end = m_path.find(m_path[m_at], m_at + 1);
    if (end == std::string_view::npos) return Fail(BoundPath::kMalformed);
    const std::string_view text = m_path.substr(m_at, end + 1 - m_at);
    Copy(text.size());
    return {Kind::kText, IsAscii(text)};
  }

  Operand NumberLiteral() {
    double most = 0;
    for (const char c : m_path.substr(m_at, Span(m_at, IsDigit))) most = most * 10 + (c - '0');
    Copy(Span(m_at, IsDigit));
    const bool whole = Here() != '.';
    if (!whole) Copy(1 + Span(m_at + 1, IsDigit));
    return Number(whole, whole ? most : most + 1);
  }

  Operand Call() {
    const std::string_view name = Name();
    const auto* const function = std::ranges::find(kFunctions, name, &Function::name);
    if (function == std::end(kFunctions)) return Fail(BoundPath::kMalformed);
    m_at += name.size();
    const std::size_t start = m_bound.size();
    const Operand given = Arguments(*function);
    Write(*function, start);
    return given;
  }

  // Reads the arguments, in their brackets, and writes them without.
  Operand Arguments(const Function& function) {
    Next();
    ++m_at;
    Deepen();
    std::array<Operand, 3> given;  // what more there is tells nothing of the result
    for (std::size_t i = 0; Next() != ')'; ++i) {
      if (m_at == m_path.size()) return Fail(BoundPath::kMalformed);
      if (i > 0) Close(',');
      const Operand one = Argument(function, i);
      if (i < given.size()) given[i] = one;
    }
    ++m_at;
    --m_nesting;
    const bool cuts = function.name == "substring" && !given[0].ascii;
    const bool maps = function.name == "translate" && !(given[1].ascii && given[2].ascii);
    if (cuts || maps) Note(BoundPath::kRightInAscii);
    return Given(function, given[0]);
  }

  Operand Argument(const Function& function, std::size_t index) {
    const std::size_t start = m_bound.size();
    const Operand one = Expression(0);
    const bool isExact = one.whole && one.most <= kMostWritten;
    if (one.kind == Kind::kNumber && index < function.texts && !isExact) Note(BoundPath::kLacking);
    if (function.name == "substring" && index > 0 && !one.whole)
      Wrap(kRound, start, m_bound.size());
    return one;
  }

  // Makes a call of what stands behind `start`, unless calls in calls have made that too long.
  void Write(const Function& function, std::size_t start) {
    if (m_bound.size() > kMaxBoundLength) {
      Fail(BoundPath::kLacking);
    } else if (function.as.empty()) {
      Wrap(std::string(function.name).append("($)"), start, m_bound.size());
    } else {
      if (m_bound.size() == start && function.ofContext) m_bound += '.';
      Wrap(function.as, start, m_bound.size());
    }
  }

  // Puts what was written from `start` to `end` wherever `text` has a "$", and that in its place.
  void Wrap(std::string_view text, std::size_t start, std::size_t end) {
    const std::string wrapped = m_bound.substr(start, end - start);
    const std::string behind = m_bound.substr(end);
    m_bound.resize(start);
    for (const char c : text) {
      if (c == '$') {
        m_bound += wrapped;
      } else {
        m_bound += c;
      }
    }
    m_bound += behind;
  }

  void Predicates() {
    while (Next() == '[') {
      Copy(1);
      Deepen();
      Expression(0);
      Close(']');
      --m_nesting;
    }
  }

  void Step() {
    bool ofElements = true;
    if (Next() == '.') return Copy(m_path.substr(m_at).starts_with("..") ? 2 : 1);
    if (Next() == '@') {
      Copy(1);
      ofElements = false;
    } else if (BeginsName(Next()) && BehindName().starts_with("::")) {
      ofElements = Axis();
    }
    NodeTest(ofElements);
    Predicates();
  }

  // Whether it is one of elements.
  bool Axis() {
    const std::string_view name = Name();
    Copy(name.size());
    Next();
    Copy(2);
    if (name == "namespace") Note(BoundPath::kLacking);
    return name != "attribute" && name != "namespace";
  }

  void NodeTest(bool ofElements) {
    if (Next() == '*') return Copy(1);
    if (!BeginsName(Next())) Fail(BoundPath::kMalformed);
    const std::string_view name = Name();
    Copy(name.size());
    if (Here() == ':' && name == "xml") {
      NameInXml();
    } else if (Next() == ':') {
      Fail(BoundPath::kRefused);
    } else if (Next() == '(') {
      NodeType();
    } else if (ofElements) {
      m_bound += kInNoNamespace;
    }
  }

  void NameInXml() {
    Copy(1);
    if (Here() == '*') return Copy(1);
    if (!BeginsName(Here())) Fail(BoundPath::kMalformed);
    Copy(Name().size());
  }

  void NodeType() {
    Copy(1);
    if (IsQuote(Next())) Literal();
    Close(')');
  }

  void Close(char bracket) {
    if (Next() == bracket) {
      Copy(1);
    } else {
      Fail(BoundPath::kMalformed);
    }
  }

  void Deepen() {
    if (++m_nesting > kMaxPathNesting) Fail(BoundPath::kRefused);
  }

  void Note(BoundPath result) { m_result = std::max(m_result, result); }

  Operand Fail(BoundPath result) {
    Note(result);
    m_at = m_path.size();
    return {};
  }

  void Copy(std::size_t length) {
    m_bound += m_path.substr(m_at, length);
    m_at += length;
  }

  [[nodiscard]] char Here() const { return m_at < m_path.size() ? m_path[m_at] : '\0'; }

  // What comes next, with blanks passed over.
  char Next() {
    m_at += Span(m_at, IsBlank);
    return Here();
  }

  [[nodiscard]] std::string_view Name() const {
    return m_path.substr(m_at, Span(m_at, ContinuesName));
  }

  [[nodiscard]] std::string_view BehindName() const {
    const std::size_t end = m_at + Name().size();
    return m_path.substr(end + Span(end, IsBlank));
  }

  template <typename Belongs>
  [[nodiscard]] std::size_t Span(std::size_t from, Belongs belongs) const {
    std::size_t end = from;
    while (end < m_path.size() && belongs(m_path[end])) ++end;
    return end - from;
  }

  std::string_view m_path;
  std::string& m_bound;
  std::size_t m_at = 0;
  int m_nesting = 0;
  BoundPath m_result = BoundPath::kRight;
};

}  // namespace

BoundPath BindPath(std::string_view path, std::string& bound) {
  bound.clear();
  return path.size() <= kMaxPathLength ? PathReader(path, bound).Bind() : BoundPath::kRefused;
}

bool IsPath(std::string_view path) {
  std::string bound;
  return BindPath(path, bound) < BoundPath::kMalformed;
}

}  // namespace tlk
