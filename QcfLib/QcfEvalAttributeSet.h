#pragma once

#include "Platform/Framework/CharRange.h"
#include "Platform/Framework/Hash.h"
#include "Platform/Framework/Types.h"
#include "QcfLib/QcfEvalAttributeSetGenerated.h"

#include <iosfwd>
#include <stdexcept>

namespace Qcf::Eval {

/// A dense set of named attribute flags in one word, bit 0 first. `Names` gives the set's type
/// name, its width and the name of each bit. A value: copied, compared, hashed, without storage of
/// its own.
///
///     AttributeSet reads;
///     reads.insert(AttributeSet::bitOf("med"));
///     reads == AttributeSet::strepToValue("Value('Qcf::Eval::AttributeSet', ** {'med': True})")
///
/// Text form: `Value('Qcf::Eval::AttributeSet', ** {'afi': True, 'afi_safi': False, ...})`. Reading
/// accepts blanks anywhere between the parts, flags in any order, left-out flags as false, and the
/// values True, False, true, false, 1 and 0.
/// One word: asking, comparing and hashing cost next to nothing.
template <typename Names>
class FlagSet {
public:
    /// Flags there are; at most 63, since `value() >> width` has to be defined.
    static constexpr std::size_t width = Names::width;

    /// No flag.
    constexpr FlagSet() = default;
    /// From bits; throws std::out_of_range when one is set at or above the width.
    /// For sets that were reckoned as words, as ClassFacts has them; `value()` gives it back.
    explicit FlagSet(U64 bits);
    /// Reads the text form and moves the range behind it; throws ParseError.
    explicit FlagSet(CharRange & text);
    /// Reads the text form, which must be all of `text`; throws ParseError.
    /// Blanks may follow, and nothing else.
    static FlagSet strepToValue(String const & text);

    /// All flags, bit n for the n-th one.
    constexpr U64 value() const { return bits_; }
    /// False for a bit at or above the width.
    constexpr bool contains(std::size_t bit) const {
        return bit < width && ((bits_ >> bit) & 1) != 0;
    }
    /// Throws std::out_of_range for a bit at or above the width, which `bitOf` gives for a name
    /// that no flag has.
    constexpr void insert(std::size_t bit) {
        if (bit >= width) {
            refuse(bit);
        }
        bits_ |= U64{1} << bit;
    }
    constexpr bool empty() const { return bits_ == 0; }
    constexpr bool operator==(FlagSet const &) const = default;

    constexpr U32 hash(U32 seed) const {
        Hash hash(seed);
        hash.hashMix(bits_);
        return hash.result();
    }

    /// The bit of a flag name; `width` when there is none.
    /// Costs a look at each name: for readers and tests, not for evaluations.
    static std::size_t bitOf(std::string_view name);
    /// The name of a bit below the width.
    static char const * nameOf(std::size_t bit) { return Names::name(bit); }

private:
    /// Out of line, so that `insert` stays a test and an or.
    [[noreturn]] static void refuse(std::size_t bit);

    U64 bits_ = 0;
};

/// The flags of AttributeSet: all attributes but the internal ones, by language name.
/// Its bits are `AttributeInfo::readBit`.
struct AttributeSetNames {
    static constexpr std::size_t width = attributeSetWidth;
    static constexpr char const * type = "Qcf::Eval::AttributeSet";
    static char const * name(std::size_t bit);
};
/// The flags of ModifiableAttributeSet: those that a function can modify, in flush order.
/// Its bits are `AttributeInfo::writeBit`.
struct ModifiableAttributeSetNames {
    static constexpr std::size_t width = modifiableAttributeSetWidth;
    static constexpr char const * type = "Qcf::Eval::ModifiableAttributeSet";
    static char const * name(std::size_t bit);
};

/// Attributes that a function reads.
using AttributeSet = FlagSet<AttributeSetNames>;
/// Attributes that a function writes.
using ModifiableAttributeSet = FlagSet<ModifiableAttributeSetNames>;

/// Writes the text form.
template <typename Names>
std::ostream & operator<<(std::ostream & out, FlagSet<Names> const & set);

// There are no other sets: the templates' bodies stay in one source.
extern template class FlagSet<AttributeSetNames>;
extern template class FlagSet<ModifiableAttributeSetNames>;
extern template std::ostream & operator<<(std::ostream &, AttributeSet const &);
extern template std::ostream & operator<<(std::ostream &, ModifiableAttributeSet const &);

/// Which attributes a function may read and which it may write, as whoever compiled it declares.
/// An agent that fetches attributes at a cost can ask what it need not have.
///
///     if (function.accessedAttributes().readableAttributes.contains(bit)) { ... fetch it ... }
///
struct AccessibleAttributes {
    // An attribute may be in both, in one or in none.
    AttributeSet readableAttributes;
    ModifiableAttributeSet writableAttributes;

    bool operator==(AccessibleAttributes const &) const = default;

    constexpr U32 hash(U32 seed) const {
        return writableAttributes.hash(readableAttributes.hash(seed));
    }

    /// A line an attribute that is touched, in flag order: `med = read/write`.
    String toStrep() const;
};

/// Writes `name = read`, `name = read/write` or `name = write` and a line end; nothing for neither.
/// As `AccessibleAttributes::toStrep` writes its lines.
void formatReadWriteAttributeFlag(std::ostringstream & out, char const * name, bool read,
                                  bool write);

} // namespace Qcf::Eval

template <typename Names>
struct std::hash<Qcf::Eval::FlagSet<Names>> : HashOfValue<Qcf::Eval::FlagSet<Names>> {};
template <>
struct std::hash<Qcf::Eval::AccessibleAttributes> : HashOfValue<Qcf::Eval::AccessibleAttributes> {};
