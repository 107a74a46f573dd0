#pragma once

#include "Platform/Framework/Hash.h"
#include "Platform/Framework/Types.h"
#include "Platform/Routing/Policy.h"

#include <iosfwd>

/// What evaluating a node yields: a value, and whether evaluation goes on after it.
///
///     EvalResult const result = function->eval(context);
///     bool const accepted = result.isTrue();   // false and unknown both reject
namespace Qcf::Eval {

/// The value of a predicate or a statement.
/// Unknown is the start: a function in which no statement decides is neither true nor false.
enum class TriStateBoolValue : U8 { unknown = 0, false_ = 1, true_ = 2 };

// The same as functions, as compilers of policies and agents spell them.
constexpr TriStateBoolValue QcfUnknown() { return TriStateBoolValue::unknown; }
constexpr TriStateBoolValue QcfFalse() { return TriStateBoolValue::false_; }
constexpr TriStateBoolValue QcfTrue() { return TriStateBoolValue::true_; }

/// Whether evaluation is to stop, and how far up it unwinds.
/// The numbers index tables: of texts, and of the ends of plans.
enum class TerminationFlag : U8 {
    noTermination = 0,  ///< go on with the next statement
    returnToCaller = 1, ///< unwind to the enclosing function, which clears the flag
    exitToPoa = 2,      ///< unwind through every function to the point of attachment
};

/// The text of a value; asserts on one outside the enumeration.
/// "unknown", "false" or "true"; static storage.
char const * toString(TriStateBoolValue value);
/// The enumerator's own name; static storage.
char const * toString(TerminationFlag flag);
/// As the text above.
std::ostream & operator<<(std::ostream & out, TriStateBoolValue value);

/// What evaluating a node yields; two bytes, handed around by value.
///
///     EvalResult::fromBool(true);                            // a condition that holds
///     EvalResult(QcfUnknown());                              // a statement that decided nothing
///     EvalResult(QcfTrue(), TerminationFlag::exitToPoa);     // `exit true`
///
class EvalResult {
public:
    /// Unknown, and evaluation goes on: what a statement without effect yields.
    constexpr EvalResult() = default;
    /// Any value goes with any termination.
    constexpr explicit EvalResult(TriStateBoolValue retVal,
                                  TerminationFlag termination = TerminationFlag::noTermination)
        : retVal_(retVal), termination_(termination) {}

    /// A predicate's answer: evaluation goes on.
    static constexpr EvalResult fromBool(bool b) { return EvalResult(b ? QcfTrue() : QcfFalse()); }
    /// A built-in function's answer: returns to the caller at once.
    static constexpr EvalResult fromBoolWithReturn(bool b) {
        return EvalResult(b ? QcfTrue() : QcfFalse(), TerminationFlag::returnToCaller);
    }

    /// The value that the node, or what ended it, yields.
    constexpr TriStateBoolValue retVal() const { return retVal_; }
    constexpr TerminationFlag termination() const { return termination_; }
    /// Accepted, for a function: its changes are written back.
    constexpr bool isTrue() const { return retVal_ == QcfTrue(); }
    /// Whether the statements behind are passed over.
    constexpr bool terminates() const { return termination_ != TerminationFlag::noTermination; }

    /// The same value with another termination.
    /// For wrappers that pass a value on but decide themselves how far to unwind.
    constexpr EvalResult with(TerminationFlag termination) const {
        return EvalResult(retVal_, termination);
    }

    /// What a function whose body has this result yields to its caller.
    /// An exit goes through it unchanged, up to the point of attachment.
    ///
    ///     returned() of (true, returnToCaller) is (true, noTermination)
    ///     returned() of (true, exitToPoa)      is the same
    ///
    constexpr EvalResult returned() const {
        bool const returns = termination_ == TerminationFlag::returnToCaller;
        return returns ? with(TerminationFlag::noTermination) : *this;
    }

    /// By both parts.
    constexpr bool operator==(EvalResult const &) const = default;

    /// Both parts count: results that differ in termination alone are different.
    constexpr U32 hash(U32 seed) const {
        Hash hash(seed);
        hash.hashMix(static_cast<U8>(retVal_));
        hash.hashMix(static_cast<U8>(termination_));
        return hash.result();
    }

private:
    // Two bytes, so that a result fits a register.
    TriStateBoolValue retVal_ = TriStateBoolValue::unknown;
    TerminationFlag termination_ = TerminationFlag::noTermination;
};

/// Unset becomes unknown, whatever value it holds; a set value becomes false or true.
/// The agent's values are 0 and 1, the engine's one above them.
inline EvalResult tristateToEvalResult(TristateBoolean value) {
    return value.isSet == 0 ? EvalResult()
                            : EvalResult(static_cast<TriStateBoolValue>(value.value + 1));
}

} // namespace Qcf::Eval

template <>
struct std::hash<Qcf::Eval::EvalResult> : HashOfValue<Qcf::Eval::EvalResult> {};
