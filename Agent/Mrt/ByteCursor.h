#pragma once

#include "Platform/Framework/Types.h"

#include <cstddef>
#include <exception>
#include <span>

namespace Qcf::Agent {

/// Thrown where the bytes of a record contradict themselves. Both texts are literals, so that a
/// hostile file cannot make the reader allocate: "AS_PATH attribute" and "ends too early". It never
/// leaves this folder: a reader counts the record as damaged, reports it and goes on with the next.
class Damage : public std::exception {
public:
    /// Both must be literals.
    Damage(char const * subject, char const * problem) noexcept
        : subject_(subject), problem_(problem) {}

    /// What is damaged: "AS_PATH attribute".
    char const * subject() const { return subject_; }
    /// What is wrong with it: "ends too early".
    char const * problem() const { return problem_; }
    /// The problem alone; reports put the subject before it.
    char const * what() const noexcept override { return problem_; }

private:
    char const * subject_;
    char const * problem_;
};

/// The two bytes at `from` as a big-endian number; loads below likewise. For callers who have seen
/// that the bytes are there.
inline U16 loadU16(U8 const * from) { return static_cast<U16>((U32{from[0]} << 8) | from[1]); }

inline U32 loadU32(U8 const * from) {
    return (U32{from[0]} << 24) | (U32{from[1]} << 16) | (U32{from[2]} << 8) | from[3];
}

inline U64 loadU64(U8 const * from) { return (U64{loadU32(from)} << 32) | loadU32(from + 4); }

/// Reads big-endian numbers one after the other from a range of bytes that it does not own and
/// never leaves: a read past the end throws Damage, which names the subject given here.
///
///     ByteCursor body(bytes, "peer index table");
///     U32 const collector = body.u32();
///     ByteCursor name = body.take(body.u16(), "view name");
///
/// As cheap as the pointers it consists of: copy it to look ahead. The bytes must outlive it.
class ByteCursor {
public:
    /// An empty range.
    ByteCursor() = default;
    /// From `begin` on so many bytes; `subject` must be a literal.
    ByteCursor(U8 const * begin, std::size_t size, char const * subject)
        : at_(begin), end_(begin + size), subject_(subject) {}

    /// The same for a span.
    ByteCursor(std::span<U8 const> bytes, char const * subject)
        : ByteCursor(bytes.data(), bytes.size(), subject) {}

    /// Bytes that were not read.
    std::size_t left() const { return static_cast<std::size_t>(end_ - at_); }
    /// Whether everything was read.
    bool atEnd() const { return at_ == end_; }
    /// Where the next read starts.
    U8 const * data() const { return at_; }
    /// What Damage calls these bytes.
    char const * subject() const { return subject_; }

    /// The next number of so many bits.
    U8 u8() { return *advance(1); }
    U16 u16() { return loadU16(advance(2)); }
    U32 u32() { return loadU32(advance(4)); }
    U64 u64() { return loadU64(advance(8)); }
    /// Steps over `n` bytes.
    void skip(std::size_t n) { advance(n); }

    /// The next `n` bytes as a cursor of their own, under their own name. This cursor then stands
    /// behind them, whatever is read of them.
    ByteCursor take(std::size_t n, char const * subject) {
        return ByteCursor(advance(n), n, subject);
    }

    /// Steps over the next `n` bytes and answers them. They are not copied.
    std::span<U8 const> bytes(std::size_t n) { return {advance(n), n}; }
    /// All that is left. This cursor stays where it is.
    std::span<U8 const> rest() const { return {at_, end_}; }

    /// Steps over `n` bytes and answers where they start.
    U8 const * advance(std::size_t n) {
        if (left() < n) [[unlikely]] {
            endsTooEarly(subject_);
        }
        U8 const * const start = at_;
        at_ += n;
        return start;
    }

private:
    /// Apart, and without the cursor's address: the reads are small then, and a cursor may live in
    /// registers.
    [[noreturn, gnu::cold, gnu::noinline]] static void endsTooEarly(char const * subject) {
        throw Damage(subject, "ends too early");
    }

    /// Never behind `end_`.
    U8 const * at_ = nullptr;
    /// Behind the last byte that belongs to it.
    U8 const * end_ = nullptr;
    /// A literal, since Damage keeps it.
    char const * subject_ = "record";
};

} // namespace Qcf::Agent
