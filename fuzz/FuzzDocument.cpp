#include "Documents/Analysis.h"
#include "Documents/Program.h"
#include "fuzz/Require.h"

/// Reads the input as an evaluation-tree document and looks for what is hardly meant; what reads
/// must write a document that reads back to the same text.
extern "C" int LLVMFuzzerTestOneInput(U8 const * data, std::size_t size) {
    auto const written = [](String text) {
        auto const program = Qcf::Documents::readProgram(std::move(text), "fuzz");
        static_cast<void>(Qcf::Documents::analyse(program.functions));
        String out;
        RendererV2 renderer(out);
        writeProgram(program, renderer);
        return out;
    };
    String text;
    try {
        text = written(String(reinterpret_cast<char const *>(data), size));
    } catch (DocumentError const &) {
        return 0;
    }
    requireSame(text, written(text));
    return 0;
}
