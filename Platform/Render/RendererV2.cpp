#include "Platform/Render/RendererV2.h"

#include "Platform/Render/RapidJson.h"
#include "Platform/Render/Utf8.h"

#include <array>
#include <charconv>
#include <cmath>
#include <variant>

/// JSON by RapidJSON's writers, which do the quoting; what is kept from them is numbers, whose text
/// they would choose otherwise, and misuse that they would let pass.
namespace {

namespace rj = qcfRapidJson;

/// The stream that RapidJSON writes to: one of the two targets.
class Target {
public:
    using Ch = char;

    explicit Target(NonBlockingCliTxnBuffer & buffer) : buffer_(&buffer) {}
    explicit Target(String & text) : text_(&text) {}

    void Put(char c) {
        // One of the two is null.
        if (text_ != nullptr) {
            text_->push_back(c);
        } else {
            buffer_->append(c);
        }
    }
    void Flush() {}
    void put(std::string_view bytes) {
        if (text_ != nullptr) {
            text_->append(bytes);
        } else {
            buffer_->append(bytes);
        }
    }

private:
    String * text_ = nullptr;
    NonBlockingCliTxnBuffer * buffer_ = nullptr;
};

template <class F>
std::string_view shortest(std::array<char, 32> & digits, F x) {
    // In the type's own precision: an F32 widened to F64 would show digits that it does not have.
    auto const result = std::to_chars(digits.data(), digits.data() + digits.size(), x);
    return {digits.data(), static_cast<std::size_t>(result.ptr - digits.data())};
}

/// Calls `write` with `text` as valid UTF-8.
template <class F>
void withValid(std::string_view text, F && write) {
    if (isUtf8(text)) [[likely]] {
        write(text);
    } else {
        write(std::string_view(replaceInvalidUtf8(text)));
    }
}

rj::SizeType length(std::string_view text) {
    QCF_ASSERT_TEXT(text.size() <= ~rj::SizeType{0}, "text is too long for JSON");
    return static_cast<rj::SizeType>(text.size());
}

/// RapidJSON's writer takes any string for a key where it wants one, and an end behind a key. This
/// adds the question that tells them apart.
template <class W>
class Asked : public W {
public:
    using W::W;
    /// Whether a key (or the end of the object) comes next, as opposed to a value.
    bool wantsKey() const {
        // Outside of all containers a value is wanted.
        if (this->level_stack_.Empty()) {
            return false;
        }
        auto const * level = this->level_stack_.template Top<typename W::Level>();
        // The writer counts keys and values alike.
        return !level->inArray && level->valueCount % 2 == 0;
    }
};

} // namespace

class RendererV2::Writer {
public:
    Writer(Target const & target, Style style) : target_(target) {
        if (style == Style::pretty) {
            writer_.emplace<Pretty>(target_).SetIndent(' ', 2);
        } else {
            writer_.emplace<Compact>(target_);
        }
    }

    /// Calls `write` with whichever writer there is, for what may stand where a value is wanted.
    template <class F>
    void value(F && write) {
        with([&](auto & writer) {
            QCF_ASSERT_TEXT(!writer.wantsKey(), "object wants a key");
            write(writer);
        });
    }
    /// The same for what may stand where a key is wanted.
    template <class F>
    void keyOrEnd(F && write) {
        with([&](auto & writer) {
            QCF_ASSERT_TEXT(writer.wantsKey(), "key or end of object out of place");
            write(writer);
        });
    }
    template <class F>
    void with(F && write) {
        // The empty alternative is there before the constructor chose a writer, and never after.
        std::visit(
            [&](auto & writer) {
                if constexpr (!std::is_same_v<decltype(writer), std::monostate &>) {
                    write(writer);
                }
            },
            writer_);
    }
    Target & target() { return target_; }

private:
    using Compact = Asked<rj::Writer<Target>>;
    using Pretty = Asked<rj::PrettyWriter<Target>>;

    Target target_;
    std::variant<std::monostate, Compact, Pretty> writer_;
};

RendererV2::RendererV2(NonBlockingCliTxnBuffer & target, Style style)
    : writer_(std::make_unique<Writer>(Target(target), style)) {}
RendererV2::RendererV2(String & target, Style style)
    : writer_(std::make_unique<Writer>(Target(target), style)) {}
RendererV2::~RendererV2() = default;

void RendererV2::beginObject() {
    writer_->value([](auto & w) { w.StartObject(); });
}

void RendererV2::endObject() {
    writer_->keyOrEnd([](auto & w) { w.EndObject(); });
}

void RendererV2::beginArray() {
    writer_->value([](auto & w) { w.StartArray(); });
}

void RendererV2::endArray() {
    // Any place in an array will do; the library asserts that it is one.
    writer_->with([](auto & w) { w.EndArray(); });
}

void RendererV2::key(std::string_view name) {
    withValid(name, [this](std::string_view text) {
        writer_->keyOrEnd([text](auto & w) { w.Key(text.data(), length(text)); });
    });
}

void RendererV2::value(std::string_view text) {
    withValid(text, [this](std::string_view valid) {
        writer_->value([valid](auto & w) { w.String(valid.data(), length(valid)); });
    });
}

void RendererV2::value(bool b) {
    writer_->value([b](auto & w) { w.Bool(b); });
}

void RendererV2::unsignedValue(U64 n) {
    writer_->value([n](auto & w) { w.Uint64(n); });
}

void RendererV2::signedValue(S64 n) {
    writer_->value([n](auto & w) { w.Int64(n); });
}

void RendererV2::value(F64 x) {
    std::array<char, 32> digits{};
    floatText(std::isfinite(x) ? shortest(digits, x) : std::string_view());
}

void RendererV2::value(F32 x) {
    std::array<char, 32> digits{};
    floatText(std::isfinite(x) ? shortest(digits, x) : std::string_view());
}

void RendererV2::floatText(std::string_view digits) {
    if (digits.empty()) {
        nullValue();
        return;
    }
    String text(digits);
    // A whole number stays a float for whoever reads it.
    if (text.find_first_of(".e") == String::npos) {
        text += ".0";
    }
    writer_->value([&](auto & w) { w.RawValue(text.data(), text.size(), rj::kNumberType); });
}

void RendererV2::nullValue() {
    writer_->value([](auto & w) { w.Null(); });
}

void RendererV2::endDocument() {
    writer_->with([this](auto & w) {
        QCF_ASSERT_TEXT(w.IsComplete(), "document is not complete");
        // The writer forgets the document, so that another one may follow.
        w.Reset(writer_->target());
    });
    // Past the writer, which is between two documents.
    writer_->target().put("\n");
}
