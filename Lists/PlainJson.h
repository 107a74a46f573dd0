#pragma once

#include "Lists/ByteSource.h"

#include <array>
#include <string_view>

namespace Qcf::Lists {

/// Private to this folder: reads a JSON text as it arrives, without keeping it, as long as it is
/// plain.
///
///     PlainJson json(source);
///     json.document([&](std::string_view key) {
///         key == "asn" ? use(json.plainNumber()) : json.skip();
///     });
///
/// It is as strict as the reader of documents, or stricter: where the two could differ, and at any
/// fault, it throws a Doubt. Escapes, letters beyond ASCII and what is very large or deep are not
/// plain. Who meets a doubt reads the text in the other way, from its beginning.
///
/// Texts are shown where they stand: they are gone when the next value is read.
class PlainJson {
public:
    struct Doubt {};
    static void doubtUnless(bool isPlain) {
        if (!isPlain) {
            throw Doubt();
        }
    }

    explicit PlainJson(ByteSource & source) : source_(source) {}

    /// The whole text, whose value is an object.
    template <typename Member>
    void document(Member const & member) {
        begin();
        object(member);
        end();
    }

    /// `member` is given each key and reads its value; the key is gone once it has begun to.
    template <typename Member>
    void object(Member const & member) {
        KeySet keys;
        expect('{');
        if (accept('}')) {
            return;
        }
        do {
            more();
            blanks();
            std::string_view const key = text();
            keys.add(key);
            expect(':');
            blanks();
            member(key);
        } while (accept(','));
        expect('}');
    }

    /// `element` reads one.
    template <typename Element>
    void array(Element const & element) {
        expect('[');
        if (accept(']')) {
            return;
        }
        do {
            more();
            blanks();
            element();
        } while (accept(','));
        expect(']');
    }

    /// Any value, whatever it is, in so many others.
    void skip(U32 depth = 0);
    /// Whether a string is next.
    bool isText() const { return peek() == '"'; }
    std::string_view text();
    /// A number of digits alone, or one that begins with a digit and does not read as an integer.
    std::string_view plainNumber();

private:
    /// The keys of an object, as numbers: different keys may have the same one, equal ones always
    /// have.
    class KeySet {
    public:
        void add(std::string_view key);

    private:
        std::array<U64, 64> numbers_;
        std::size_t size_ = 0;
    };

    void begin();
    void end();
    /// Sees to it that bytes are at hand: called wherever a member or an element begins.
    void more();
    void moveWindow();

    char peek() const {
        doubtUnless(at_ != end_);
        return *at_;
    }
    void blanks() {
        while (at_ != end_ && (*at_ == ' ' || *at_ == '\n' || *at_ == '\t' || *at_ == '\r')) {
            ++at_;
        }
    }
    bool accept(char c) {
        blanks();
        bool const isNext = peek() == c;
        at_ += isNext ? 1 : 0;
        return isNext;
    }
    void expect(char c) { doubtUnless(accept(c)); }
    void literal(std::string_view name);
    std::string_view number();
    void digits();

    ByteSource & source_;
    char const * begin_ = nullptr;
    char const * at_ = nullptr;
    char const * end_ = nullptr;
    bool isLast_ = false; ///< the text ends where the window does
    U32 values_ = 0;
};

} // namespace Qcf::Lists
