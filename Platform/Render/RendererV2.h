#pragma once

#include "Platform/Framework/Types.h"
#include "Platform/Render/NonBlockingCliTxnBuffer.h"

#include <concepts>
#include <memory>
#include <string_view>

/// Writes JSON in the order of the calls, without building anything first and without recursion.
///
///     RendererV2 renderer(buffer);
///     renderer.beginObject();
///     renderer.key("aetNodeKey");
///     renderer.value(U64{12});
///     renderer.endObject();
///
/// Calls that do not make valid JSON (a value without key in an object, an end without begin) fail
/// an assertion. Output reaches the target with each call. The target must outlive the renderer.
/// Belongs to one thread.
class RendererV2 {
public:
    /// How the text is laid out; what it says is the same.
    enum class Style {
        compact, ///< no white space
        pretty,  ///< indented by 2
    };

    /// Appends to the target.
    explicit RendererV2(NonBlockingCliTxnBuffer & target, Style style = Style::compact);
    /// Appends to the text, which others may append to between documents.
    explicit RendererV2(String & target, Style style = Style::compact);
    RendererV2(RendererV2 const &) = delete;
    RendererV2 & operator=(RendererV2 const &) = delete;
    ~RendererV2();

    /// Opens and closes a container; what stands between the calls is its content.
    void beginObject();
    void endObject();
    /// Likewise for elements, which have no key.
    void beginArray();
    void endArray();
    /// The name of the next value; strings are escaped, invalid UTF-8 is replaced by U+FFFD.
    void key(std::string_view name);

    /// A string, escaped as keys are.
    void value(std::string_view text);
    void value(char const * text) { value(std::string_view(text)); }
    void value(String const & text) { value(std::string_view(text)); }
    void value(bool b);
    /// Integers are written exactly, whatever their size.
    template <std::unsigned_integral T>
    requires(!std::same_as<T, bool>) void value(T n) { unsignedValue(n); }
    template <std::signed_integral T>
    void value(T n) {
        signedValue(n);
    }
    /// The shortest text that reads back to the same float, with a fraction or an exponent so that
    /// it is seen to be one; null for infinities and NaN, which JSON cannot say.
    void value(F64 x);
    void value(F32 x);
    void nullValue();
    /// Ends a complete document with a newline; another one may follow. Everything that was opened
    /// must be closed.
    void endDocument();

private:
    /// What writes, in one of the two styles.
    class Writer;

    void unsignedValue(U64 n);
    void signedValue(S64 n);
    /// Writes a number that was made text here.
    void floatText(std::string_view digits);

    /// Hides the library that writes.
    std::unique_ptr<Writer> writer_;
};
