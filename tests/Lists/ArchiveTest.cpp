#include "Lists/ByteSource.h"
#include "Lists/Bzip2Bits.h"
#include "Lists/DecompressingStream.h"
#include "tests/Lists/ArchiveTools.h"
#include "tests/support/Cases.h"
#include "tests/support/Compressed.h"
#include "tests/support/Mutator.h"

#include <functional>

#include <gtest/gtest.h>

/// Threads must not be seen in what is read: neither in bytes nor in what is said of them.
namespace Qcf::Lists::test {
namespace {

using Qcf::test::bzipped;
using Qcf::test::gzipped;

struct Archive {
    char const * what;
    String compressed;
    String bytes;
    char const * fault = "";
    String note = {};
};

/// Ones of several blocks and parts, for which there is something to share out.
std::vector<Archive> soundArchives() {
    String const few = someBytes(3000, 2);
    String const many = someBytes(450'000);
    String runs;
    runs.resize(12'000'000, 'a');
    runs += many;
    return {
        {"gzip", gzipped(many), many},
        {"gzip, members", gzipped(few) + gzipped("") + gzipped(many), few + many},
        {"bzip2, small blocks", bzipped(many, 1), many},
        {"bzip2, one block", bzipped(many, 9), many},
        {"bzip2, parts", bzipped(few, 9) + bzipped(many, 1) + bzipped("", 2) + bzipped(few, 3),
         few + many + few},
        {"bzip2, nothing", bzipped("", 1), ""},
        {"bzip2, long runs", bzipped(runs, 1), runs},
        {"xz", xzipped(many), many},
        {"xz, parts and padding", xzipped(few) + String(8, '\0') + xzipped(many) + String(4, '\0'),
         few + many},
    };
}

void expectReads(Archive const & archive) {
    for (U32 const threads : {1U, 2U, 5U}) {
        for (std::size_t const piece : {std::size_t{100'000}, std::size_t{777}}) {
            SCOPED_TRACE(String(archive.what) + " by " + std::to_string(threads) + " threads");
            Content const content = contentOf(archive.compressed, threads, piece);
            EXPECT_TRUE(content.bytes == archive.bytes) << content.bytes.size();
            EXPECT_EQ(content.fault, archive.fault);
            EXPECT_EQ(content.note, archive.note);
        }
    }
}

TEST(Archive, IsReadByAnyNumberOfThreads) {
    for (Archive const & archive : soundArchives()) {
        expectReads(archive);
    }
}

TEST(Archive, TellsWhatFollowsItsEnd) {
    for (Archive archive : soundArchives()) {
        String const format = String(archive.what).substr(0, String(archive.what).find(','));
        archive.note = format + " data end at byte " + std::to_string(archive.compressed.size()) +
                       ", what follows them is not read";
        archive.compressed += "BZh and more";
        expectReads(archive);
    }
}

TEST(Archive, TellsOfDamageBehindWhatIsSound) {
    String const many = someBytes(450'000);
    String const gzip = gzipped(many);
    String const bzip2 = bzipped(many, 1);
    String const xz = xzipped(many);
    // The checksum of the whole is the last thing but a few bits.
    auto const withLast = [](String bytes, std::size_t fromEnd) {
        bytes[bytes.size() - fromEnd] = static_cast<char>(~bytes[bytes.size() - fromEnd]);
        return bytes;
    };
    expectReads({"gzip", withLast(gzip, 6), many, "gzip data are damaged"});
    expectReads({"bzip2", withLast(bzip2, 3), many, "bzip2 data are damaged"});
    expectReads({"bzip2", withLast(bzip2, 3) + bzip2, many, "bzip2 data are damaged"});
    expectReads({"gzip", gzip.substr(0, gzip.size() - 1), many, "gzip data are cut"});
    expectReads({"bzip2", bzip2.substr(0, bzip2.size() - 1), many, "bzip2 data are cut"});
    expectReads({"xz", xz.substr(0, xz.size() - 1), many, "xz data are cut"});
    expectReads({"xz", withLast(xz, 1), many, "xz data are damaged"});
}

/// All of a block may have been taken in while there was no room yet for what it yields.
TEST(Archive, AWholeBlockIsReadThoughTheDataEndBehindIt) {
    String const many = someBytes(850'000);
    String const bzip2 = bzipped(many, 9);
    auto const end = Bzip2Bits::findMark(bzip2, bzip2.size() * 8 - 90);
    ASSERT_TRUE(end.has_value());
    expectReads({"bzip2", bzip2.substr(0, (*end + 7) / 8), many, "bzip2 data are cut"});
}

/// A few bytes of header are enough to ask for a window of a gigabyte.
TEST(Archive, ClaimsNoMemoryThatItsHeaderAsksFor) {
    lzma_options_lzma options;
    ASSERT_FALSE(lzma_lzma_preset(&options, 0));
    options.dict_size = U32{1} << 30;
    lzma_filter const filters[] = {{LZMA_FILTER_LZMA2, &options}, {LZMA_VLI_UNKNOWN, nullptr}};
    lzma_block block{};
    block.check = LZMA_CHECK_CRC32;
    block.filters = const_cast<lzma_filter *>(filters);
    block.compressed_size = LZMA_VLI_UNKNOWN;
    block.uncompressed_size = LZMA_VLI_UNKNOWN;
    ASSERT_EQ(lzma_block_header_size(&block), LZMA_OK);
    lzma_stream_flags flags{};
    flags.check = LZMA_CHECK_CRC32;
    String bytes(LZMA_STREAM_HEADER_SIZE + block.header_size, '\0');
    auto * const to = reinterpret_cast<U8 *>(bytes.data());
    ASSERT_EQ(lzma_stream_header_encode(&flags, to), LZMA_OK);
    ASSERT_EQ(lzma_block_header_encode(&block, to + LZMA_STREAM_HEADER_SIZE), LZMA_OK);
    expectReads({"xz", bytes + String(100, 'x'), "", "xz data want too much memory"});
}

/// The block of a part, with the mark of a block among what it says and nobody looks at.
String withMarkInside(String const & part) {
    using namespace Bzip2Bits;
    // A mark is read as names of tables, of which there may be more than are needed: here a block
    // has three tables at least, since it has many symbols.
    constexpr U64 rangesAt = headBits + markBits + checksumBits + 1 + 24;
    U64 countAt = rangesAt + 16;
    for (U32 range = 0; range < 16; ++range) {
        countAt += bitsAt(part, rangesAt + range, 1) * 16;
    }
    EXPECT_GE(bitsAt(part, countAt, 3), 3);
    countAt += 3;
    U64 const count = bitsAt(part, countAt, 15);
    U64 behindNames = countAt + 15;
    for (U64 names = 0; names < count; ++behindNames) {
        names += 1 - bitsAt(part, behindNames, 1);
    }
    U64 zeros = 1;
    for (U32 bit = 0; bit < markBits; ++bit) {
        zeros += 1 - (blockMark >> bit & 1);
    }
    Writer out;
    out.addRange(part, 0, countAt);
    out.add(count + zeros, 15);
    out.addRange(part, countAt + 15, behindNames);
    out.add(blockMark, markBits);
    out.add(0, 1);
    auto const end = findMark(part, part.size() * 8 - 90);
    EXPECT_TRUE(end.has_value());
    out.addRange(part, behindNames, *end + markBits + checksumBits);
    return out.bytes();
}

TEST(Archive, AMarkWithinABlockIsNoEndOfIt) {
    String const bytes = someBytes(90'000);
    String const part = bzipped(bytes, 1);
    String const marked = withMarkInside(part);
    EXPECT_GT(marked.size(), part.size());
    expectReads({"bzip2", marked, bytes});
    expectReads({"bzip2", part + marked + part + "tail", bytes + bytes + bytes, "",
                 "bzip2 data end at byte " + std::to_string(2 * part.size() + marked.size()) +
                     ", what follows them is not read"});
}

/// The stand-in that the serial reader gets is sound for any checksum and at any bit.
TEST(Archive, AStandInHasTheChecksumOfWhatItStandsFor) {
    using namespace Bzip2Bits;
    for (U32 i = 0; i < 200; ++i) {
        auto const checksum = static_cast<U32>(i * 0x9e3779b9U);
        Stand stand = standFor('1', checksum, i % 8);
        ASSERT_EQ(stand.head.size() % 8, i % 8);
        stand.head.add(endMark, markBits);
        stand.head.add(checksum, checksumBits);
        Content const content = contentOf(stand.head.bytes(), 1);
        EXPECT_EQ(content.bytes.size(), stand.yields);
        EXPECT_EQ(content.fault, "") << i;
    }
}

TEST(Archive, CutAnywhereGivesTheSame) {
    String const few = someBytes(1500, 3);
    for (String const & whole :
         {gzipped(few) + gzipped(few), bzipped(few, 1) + bzipped(few, 9), xzipped(few)}) {
        for (std::size_t size = 0; size < whole.size(); size += 3) {
            String const cut = whole.substr(0, size);
            EXPECT_EQ(contentOf(cut, 2), contentOf(cut, 1)) << size;
        }
    }
}

/// How many damaged archives each test reads.
U64 mutations() { return casesWanted(300, "QCF_ARCHIVE_MUTATIONS"); }

TEST(Archive, MutationsGiveTheSame) {
    U64 const count = mutations();
    std::vector<String> seeds;
    for (Archive const & archive : soundArchives()) {
        // Long runs take long, and have no more to damage.
        if (archive.bytes.size() < 1'000'000) {
            seeds.push_back(archive.compressed);
        }
    }
    Mutator mutator(7);
    for (U64 i = 0; i < count; ++i) {
        String const & seed = seeds[i % seeds.size()];
        String const damaged = mutator.mutate(seed, seeds);
        ASSERT_EQ(contentOf(damaged, 2 + static_cast<U32>(i % 3)), contentOf(damaged, 1)) << i;
    }
}

/// Bytes that arrive in pieces of a size.
class Trickle final : public ByteStream {
public:
    Trickle(String bytes, std::size_t piece)
        : from_(makeMemoryStream(std::move(bytes))), piece_(piece) {}

    std::size_t read(U8 * to, std::size_t size) override {
        return from_->read(to, std::min(size, piece_));
    }

private:
    std::unique_ptr<ByteStream> from_;
    std::size_t piece_;
};

/// What zlib makes of gzip data.
Content byZlib(String const & bytes) {
    DecompressingStream<Gzip> stream(makeMemoryStream(bytes), String());
    Content content;
    std::vector<U8> piece(100'000);
    while (std::size_t const got = stream.read(piece.data(), piece.size())) {
        content.bytes.append(piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(got));
    }
    content.fault = stream.fault();
    content.note = stream.note();
    return content;
}

/// Of all kinds of blocks: of all lengths, with codes of their own and without, not compressed.
std::vector<String> gzipArchives() {
    String const many = someBytes(300'000);
    String const few = someBytes(3000, 2);
    String text;
    for (U32 i = 0; i < 20'000; ++i) {
        text +=
            "route " + std::to_string(i * 7919 % 1000) + " via 192.0.2." + std::to_string(i % 256);
    }
    String const far = few + String(70'000, 'x') + few;
    return {gzipped(many, {1}),
            gzipped(many, {9}),
            gzipped(many, {0}),
            gzipped(text, {9, 1}),
            gzipped(few, {6}),
            gzipped(few, {6, 8, Z_FIXED}),
            gzipped(text, {6, 9, Z_HUFFMAN_ONLY}),
            gzipped(text, {1}) + gzipped(few, {6}) + gzipped(text, {6}),
            gzipped(far, {9}) + gzipped(text, {6})};
}

TEST(Archive, GzipIsWhatZlibMakesOfIt) {
    auto const expectEqual = [](String const & bytes, std::size_t piece) {
        Content const wanted = byZlib(bytes);
        Content const found = contentOf(std::make_unique<Trickle>(bytes, piece), 1, 777);
        EXPECT_EQ(found.fault, wanted.fault);
        EXPECT_EQ(found.note, wanted.note);
        return found.bytes == wanted.bytes;
    };
    auto const archives = gzipArchives();
    constexpr std::size_t pieces[] = {65536, 9, 700, 5000};
    for (String const & archive : archives) {
        EXPECT_EQ(byZlib(archive).fault, "");
        for (std::size_t const piece : pieces) {
            EXPECT_TRUE(expectEqual(archive, piece)) << archive.size() << " by " << piece;
        }
    }
    Mutator mutator(9);
    U64 damaged = 0;
    for (U64 i = 0; i < mutations(); ++i) {
        String const bytes = mutator.mutate(archives[i % archives.size()], archives);
        if (Gzip::starts(bytes)) {
            ASSERT_TRUE(expectEqual(bytes, pieces[i % std::size(pieces)])) << i;
            ++damaged;
        }
    }
    EXPECT_GT(damaged, mutations() / 2);
}

/// A pipe whose writer waits: it is not to be read before all that its bytes yield was handed out.
class Pipe final : public ByteStream {
public:
    Pipe(String bytes, std::size_t at, std::function<void()> waited)
        : bytes_(std::move(bytes)), gate_(at), waited_(std::move(waited)) {}

    bool isReady() override { return at_ != gate_; }
    std::size_t read(U8 * to, std::size_t size) override {
        if (at_ == gate_) {
            waited_();
        }
        std::size_t const end = at_ < gate_ ? gate_ : bytes_.size();
        std::size_t const got = std::min(size, end - at_);
        std::copy_n(bytes_.data() + at_, got, to);
        at_ += got;
        return got;
    }

private:
    String bytes_;
    std::size_t at_ = 0;
    std::size_t gate_;
    std::function<void()> waited_;
};

TEST(Archive, APipeIsNotWaitedForBeforeAllIsHandedOut) {
    String const many = someBytes(450'000);
    for (String const & whole : {gzipped(many), bzipped(many, 1), xzipped(many)}) {
        std::size_t const gate = whole.size() / 2;
        // What half of the bytes yield. Of bzip2 the last block is known to be whole by its
        // successor's mark, which may be missing yet.
        std::size_t const half = contentOf(whole.substr(0, gate), 1).bytes.size();
        std::size_t const least = whole.starts_with("BZh") ? half - 100'000 : half;
        EXPECT_GT(least, 0);
        for (U32 const threads : {1U, 2U, 4U}) {
            std::size_t handedOut = 0;
            std::size_t before = 0;
            ByteSource source(std::make_unique<Pipe>(whole, gate, [&] { before = handedOut; }),
                              threads);
            while (source.ensure(1)) {
                handedOut += source.available();
                source.skip(source.available());
            }
            EXPECT_EQ(handedOut, many.size());
            EXPECT_GE(before, least) << whole.substr(0, 2) << threads;
        }
    }
}

TEST(Archive, MayBeLeftInTheMiddle) {
    for (Archive const & archive : soundArchives()) {
        for (std::size_t const looked : {std::size_t{1}, std::size_t{200'000}}) {
            ByteSource source(makeMemoryStream(archive.compressed), 3);
            EXPECT_EQ(source.ensure(looked), archive.bytes.size() >= looked) << archive.what;
        }
    }
}

} // namespace
} // namespace Qcf::Lists::test
