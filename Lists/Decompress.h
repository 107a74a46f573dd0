#pragma once

#include "Lists/ByteStream.h"

namespace Qcf::Lists {

/// Makes a stream of what another stream holds compressed; `head` is what was read of it already.
using MakeDecompressor = std::unique_ptr<ByteStream> (*)(std::unique_ptr<ByteStream> stream,
                                                         String head);

/// The decompressor that the first bytes of a stream ask for (gzip, bzip2), or null.
///
/// Several compressed parts one after the other read as one, as the tools themselves do; anything
/// else behind a part ends the stream with a note. Damaged or cut data end it with a fault; what
/// was good before them is delivered. The compressed stream is read in pieces as the result is
/// asked for: memory does not grow with it.
MakeDecompressor decompressorFor(U8 const * bytes, std::size_t size);

} // namespace Qcf::Lists
