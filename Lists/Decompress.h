#pragma once

#include "Lists/ByteStream.h"

namespace Qcf::Lists {

/// Makes a stream of what another stream holds compressed; `head` is what was read of it already.
/// With `threads` above 1 the work is done in threads of the stream's own, so many at most; with 1
/// by whoever reads.
using MakeDecompressor = std::unique_ptr<ByteStream> (*)(std::unique_ptr<ByteStream> stream,
                                                         String head, U32 threads);

/// The decompressor that the first bytes of a stream ask for (gzip, bzip2, xz), or null.
///
/// Several compressed parts one after the other read as one, as the tools themselves do; anything
/// else behind a part ends the stream with a note. Damaged or cut data end it with a fault; what
/// was good before them is delivered. Bytes, fault and note do not depend on the number of threads.
///
/// The compressed stream is read by whoever reads the result, in pieces as that is asked for, and
/// never waited for while there is something to hand out. Memory does not grow with it: threads
/// work ahead by a few blocks each.
MakeDecompressor decompressorFor(U8 const * bytes, std::size_t size);

} // namespace Qcf::Lists
