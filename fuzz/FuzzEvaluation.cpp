#include "Agent/Evaluation/AgentContext.h"
#include "Agent/Routes/ValueRenderer.h"
#include "Agent/Tables/RouteFile.h"
#include "Documents/Program.h"
#include "Lists/ListsDocument.h"
#include "QcfLib/Plan.h"
#include "QcfLib/QcfDebugEvaluationLog.h"
#include "fuzz/JsonMutation.h"
#include "fuzz/Require.h"

#include <filesystem>

namespace {

using namespace Qcf::Agent; // NOLINT(google-build-using-namespace): what is under test
using namespace Qcf::Lists; // NOLINT(google-build-using-namespace): what is under test
using Qcf::Documents::Program;
using Qcf::Eval::EvalContextBase;
using Qcf::Eval::Function;
using Qcf::Eval::Plan;

/// The routes and the lists of the examples, which the seeds are evaluated with.
struct Scene {
    std::vector<Route> routes;
    Ptr<NamedLists> lists = makePtr<NamedLists>();

    Scene() {
        std::filesystem::path const folder = QCF_SOURCE_DIR "/examples";
        for (char const * const name :
             {"builtins", "fabric", "route-server-export", "transit-import"}) {
            String const path = folder / name;
            addLists(*readListsFile(path + ".lists.json"));
            addRoutes(path + ".routes.jsonl");
        }
    }

private:
    /// The first routes of a file; each costs three evaluations an input.
    void addRoutes(String const & path) {
        auto const reader = openRoutes(path, [](String const &) {});
        for (std::size_t i = 0; i < 2; ++i) {
            routes.emplace_back();
            requireThat(reader->next(routes.back()), "the examples have routes");
        }
    }
    void addLists(NamedLists const & more) {
        add(lists->prefixLists, more.prefixLists);
        add(lists->dynamicPrefixLists, more.dynamicPrefixLists);
        add(lists->communityLists, more.communityLists);
        add(lists->extCommunityLists, more.extCommunityLists);
        add(lists->largeCommunityLists, more.largeCommunityLists);
        add(lists->asPathAccessLists, more.asPathAccessLists);
        add(lists->tagSets, more.tagSets);
        add(lists->roaTables, more.roaTables);
    }
    template <typename Map>
    static void add(Map & lists, Map const & more) {
        lists.insert(more.begin(), more.end());
    }
};

enum class Way : U8 { walk, plan, logged };

/// Keys rise within a frame.
void checkLog(Qcf::Debug::EvaluationLog const * record) {
    for (; record != nullptr; record = record->nextLog().get()) {
        auto const * const next = record->nextLog().get();
        requireThat(next == nullptr || record->aetNodeKey() < next->aetNodeKey(), "keys rise");
        checkLog(static_cast<Qcf::Debug::EvaluationLog const *>(record->functionCallLog().get()));
    }
}

/// One context that serves function after function and route after route.
class Evaluation {
public:
    Evaluation(Scene const & scene, PtrConst<Qcf::ExternalMatchersBase> const & matchers, Way way)
        : scene_(scene), way_(way), context_(makePtr<AgentContext>(matchers)), base_(context_) {}

    /// What all functions come to that can be evaluated, for all routes.
    String outcome(Program const & program) {
        Plan::enabledIs(way_ == Way::plan);
        String text;
        RendererV2 renderer(text);
        for (std::size_t i = 0; i < program.functions.size(); ++i) {
            if (program.faults[i].eval.empty()) {
                for (Route const & route : scene_.routes) {
                    evaluate(*program.functions[i], route, renderer);
                }
            }
        }
        return text;
    }

private:
    void evaluate(Function const & function, Route const & route, RendererV2 & renderer) {
        context_->routeIs(route);
        context_->shouldLogEvalIs(way_ == Way::logged);
        auto const result = function.eval(base_);
        renderer.beginObject();
        renderer.key(toString(result.retVal()));
        renderer.value(toString(result.termination()));
        if (context_->nextHopSetToSelf()) {
            renderer.key("self");
            renderer.value(true);
        }
        ValueRenderer values(renderer);
        context_->changes().eachChange([&](auto, char const * name, auto const & value) {
            renderer.key(name);
            values.render(value, setFormOf(name));
        });
        renderer.endObject();
        renderer.endDocument();
        if (way_ == Way::logged) {
            checkLog(context_->evaluationLog().get());
        }
    }

    Scene const & scene_;
    Way way_;
    Ptr<AgentContext> context_;
    Ptr<EvalContextBase> base_;
};

} // namespace

/// Documents that cannot be read are the business of another target.
bool isOfUse(String const & input) {
    try {
        return !Qcf::Documents::readProgram(input, "fuzz").functions.empty();
    } catch (DocumentError const &) {
        return false;
    }
}

/// Reads the input as a document and evaluates each of its functions by walking its tree, by its
/// plan and with a log: results and changes must be the same. The tree goes first for all routes:
/// what a plan does to the constants of a tree shows as well.
extern "C" int LLVMFuzzerTestOneInput(U8 const * data, std::size_t size) {
    static Scene const scene;
    try {
        Program const program =
            Qcf::Documents::readProgram(String(reinterpret_cast<char const *>(data), size), "fuzz");
        auto const matchers = bindLists(program.slots, scene.lists.get());
        String const walked = Evaluation(scene, matchers, Way::walk).outcome(program);
        requireSame(walked, Evaluation(scene, matchers, Way::plan).outcome(program));
        requireSame(walked, Evaluation(scene, matchers, Way::logged).outcome(program));
        requireSame(walked, Evaluation(scene, matchers, Way::plan).outcome(program));
    } catch (DocumentError const &) {
    }
    return 0;
}
