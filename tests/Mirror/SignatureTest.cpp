#include "Mirror/MirrorError.h"
#include "Mirror/ProgramPublication.h"
#include "tests/Mirror/ListTools.h"
#include "tests/Mirror/MirrorTools.h"

#include <gtest/gtest.h>

namespace Qcf::Mirror {
namespace {

using Signer = std::shared_ptr<BatchSigner const>;

Signer signer(char const * key, char const * name = "edge") {
    return std::make_shared<BatchSigner const>(key, name);
}

/// The first version of a publisher with that signer.
Batch published(Signer const & signer) {
    Replica writer("edge");
    ChangeSource source(writer.status());
    source.signerIs(signer);
    publishProgram(test::policy(test::alike(2, 1)), *writer.status(), writer.digests(), 1);
    return source.takeBatch({1, newBatchId(), ""}, writer.digest());
}

bool takes(Signer const & signer, Batch const & batch) {
    Replica reader("edge", signer);
    try {
        reader.apply(test::staged(batch));
        return true;
    } catch (MirrorError const & error) {
        EXPECT_NE(String(error.what()).find("not signed by the key"), String::npos) << error.what();
        EXPECT_EQ(reader.status()->aet().size(), 0U);
        return false;
    }
}

TEST(Signature, aReaderWithAKeyTakesWhatWasSignedByIt) {
    auto const ours = signer("0123456789abcdef");
    auto const other = signer("0123456789abcdeF");
    auto const elsewhere = signer("0123456789abcdef", "core");
    struct {
        Signer writer;
        Signer reader;
        bool taken;
    } const cases[] = {
        {ours, ours, true},       {nullptr, ours, false}, {other, ours, false},
        {elsewhere, ours, false}, {ours, nullptr, true},  {nullptr, nullptr, true},
    };
    for (auto const & each : cases) {
        EXPECT_EQ(takes(each.reader, published(each.writer)), each.taken) << &each - cases;
    }
}

// What is not a line of the sum is signed as well.
TEST(Signature, nothingOfABatchCanBeExchanged) {
    auto const ours = signer("0123456789abcdef");
    Batch const batch = published(ours);
    EXPECT_TRUE(ours->isSigned(batch.signedText(), batch.signature));
    EXPECT_FALSE(ours->isSigned(batch.signedText(), batch.signature + "0"));
    EXPECT_FALSE(ours->isSigned(batch.signedText(), ""));
    std::function<void(Batch &)> const changes[] = {
        [](Batch & each) { each.start.version = 2; },
        [](Batch & each) { each.start.id += 'x'; },
        [](Batch & each) { each.start.base = "x"; },
        [](Batch & each) { each.start.format = 3; },
        [](Batch & each) { each.digest = {}; },
        [](Batch & each) { each.sum = "00"; },
        // What goes from one part to the next one.
        [](Batch & each) {
            each.start.base = each.start.id;
            each.start.id.clear();
        },
    };
    for (auto const & change : changes) {
        Batch other = batch;
        change(other);
        EXPECT_FALSE(ours->isSigned(other.signedText(), batch.signature)) << &change - changes;
    }
}

TEST(Signature, aKeyThatIsTooShortIsRefused) {
    EXPECT_THROW(BatchSigner("Jefe", "edge"), MirrorError);
    EXPECT_NO_THROW(BatchSigner(String(BatchSigner::leastKey, 'k'), "edge"));
}

} // namespace
} // namespace Qcf::Mirror
