#pragma once

#include "Text/DeclaredNames.h"
#include "Text/Draft.h"

#include <functional>
#include <map>
#include <optional>

namespace Qcf::Text {

class Cursor;

/// A parameter of a function, as its header declares it.
struct Parameter {
    String name;
    Eval::ArgumentKind kind; ///< integer, bandwidth, triStateBool or prefixList
    U8 index;                ///< among those of its kind
    Span span;
    mutable bool isUsed = false;
};

/// One element of a constant: a literal, or a range of integers.
struct ConstantItem {
    Literal low;
    std::optional<Literal> high = {};
};

/// A constant of a text. It means its literals wherever it stands.
struct Constant {
    String name = {};
    Span span = {};
    bool isSet = false;
    std::vector<ConstantItem> items = {}; ///< one, unless it is a set
    /// Its value is wrong, which was told: nothing that uses it is worth a message.
    bool isFaulty = false;
    mutable bool isUsed = false;
};

/// The constants of one text, above their use. Names are kept in the order of the text by span.
struct Constants : std::map<String, Constant, std::less<>> {
    /// Elements that stand somewhere by a constant's name. Sets of sets grow without bound, and the
    /// text is to be what it costs.
    static constexpr U64 mostSpliced = 4'000'000;
    mutable U64 spliced = 0;

    /// Counts those of a constant whose name stands at the place. Throws Recovery, told, when they
    /// are too many.
    void splice(Cursor & cursor, Span const & at, std::size_t elements) const;
};
using Parameters = std::vector<Parameter>;

/// The names that everything in a text can see, attributes and lists apart.
struct TextScope {
    Constants const & constants;
    DeclaredNames const & declared;

    /// Throws Recovery for one whose declaration was told to be wrong.
    Constant const * findConstant(std::string_view name) const;
    /// The constant whose name stands at the cursor, plain or in quotes; null for all else. Throws
    /// as above.
    Constant const * constantAt(Cursor const & cursor) const;
};

/// The names that a function's body can see.
struct Scope : TextScope {
    Parameters const & parameters;

    Parameter const * findParameter(std::string_view name) const;
    /// Whether a parameter or a constant is called so.
    bool isTaken(std::string_view name) const;
};

/// The word that declares a parameter of that kind: "int".
char const * parameterWord(Eval::ArgumentKind kind);
/// The kind that the word declares; nothing for other words.
std::optional<Eval::ArgumentKind> parameterKind(std::string_view word);

/// The class of what a parameter of that kind is where it stands.
Eval::NodeClass const & variableClass(Eval::ArgumentKind kind);

/// Whether a value of that class may stand where a name is not known.
using Fits = std::function<bool(Eval::NodeClass const &)>;

/// The attribute or other known name that was probably meant where values stand: foreign words are
/// known ("local-pref"), others by their spelling, among those that fit. Empty where nothing is
/// near.
String suggestName(std::string_view word, Scope const & scope, Fits const & fits);
/// The same among the names that every text has.
String suggestName(std::string_view word);

} // namespace Qcf::Text
