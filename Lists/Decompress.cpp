#include "Lists/Decompress.h"

#include "Lists/AheadStream.h"
#include "Lists/Bzip2Stream.h"
#include "Lists/DecompressingStream.h"
#ifdef QCF_HAS_ISAL
#include "Lists/FastGzip.h"
#endif

#include <utility>

/// Which format it is, and how it is shared out: bzip2 data fall apart into blocks that know
/// nothing of each other, the other two are one chain, which can only run beside its reader.
namespace Qcf::Lists {

namespace {

#ifdef QCF_HAS_ISAL
using BestGzip = FastGzip;
#else
using BestGzip = Gzip;
#endif

template <class Codec>
std::unique_ptr<ByteStream> makeSerial(std::unique_ptr<ByteStream> stream, String head) {
    return std::make_unique<DecompressingStream<Codec>>(std::move(stream), std::move(head));
}

template <class Codec>
std::unique_ptr<ByteStream> make(std::unique_ptr<ByteStream> stream, String head, U32 threads) {
    if (threads > 1) {
        return std::make_unique<AheadStream>(std::move(stream), std::move(head),
                                             &makeSerial<Codec>);
    }
    return makeSerial<Codec>(std::move(stream), std::move(head));
}

std::unique_ptr<ByteStream> makeBzip2(std::unique_ptr<ByteStream> stream, String head,
                                      U32 threads) {
    if (threads > 1) {
        return std::make_unique<Bzip2Stream>(std::move(stream), std::move(head), threads);
    }
    return makeSerial<Bzip2>(std::move(stream), std::move(head));
}

} // namespace

MakeDecompressor decompressorFor(U8 const * bytes, std::size_t size) {
    std::string_view const head(reinterpret_cast<char const *>(bytes), size);
    if (Gzip::starts(head)) {
        return &make<BestGzip>;
    }
    if (Xz::starts(head)) {
        return &make<Xz>;
    }
    return Bzip2::starts(head) ? &makeBzip2 : nullptr;
}

} // namespace Qcf::Lists
