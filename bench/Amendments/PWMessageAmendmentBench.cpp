#include <benchmark/benchmark.h>

#include "BenchSupport.hpp"
#include "postwright/Amendments/PWAddRecipientAmendment.hpp"
#include "postwright/Amendments/PWFragmentMimePartAmendment.hpp"
#include "postwright/Amendments/PWHeaderAmendment.hpp"
#include "postwright/Amendments/PWPrepareDeliveryAmendment.hpp"
#include "postwright/Amendments/PWSubjectAmendment.hpp"
#include "postwright/Base/Host.hpp"

using namespace postwright;

namespace {

class SilentLogger : public Logger {
public:
    void logForCategory(std::string_view, std::u16string_view) override {}
};

// Every corpus message run through the list in the context: the lists per second a rule engine or an
// outbox gets through. The run includes opening the message and writing the amended bytes.
void runListOverCorpus(benchmark::State& state, const PWMessageAmendmentList& list, uint64_t contextType) {
    Application::shared().setLogger(std::make_shared<SilentLogger>());
    const std::vector<Data>& messages = bench::corpusMessages();
    auto context = PWMessageAmendmentContext::newWithContextType(contextType);
    for (auto _ : state) {
        for (const Data& bytes : messages) {
            auto message = FGPostwrightMessage::initWithRFC2822Data(bytes, true);
            ErrorRef error;
            PWMessageContentsRef amended =
                PWMessageAmendment::contentsByApplyingAmendments(list, context, 0, *message, &error);
            if (amended) benchmark::DoNotOptimize(amended->contentData());
        }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(messages.size()));
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bench::totalBytes(messages)));
    Application::shared().setLogger(nullptr);
}

std::shared_ptr<PWEmailAddress> ruleAddress() {
    return PWEmailAddress::emailAddressWithRawAddress(u"Rule <rule@example.com>");
}

}  // namespace

// A rule's header-only list: its bodies are copied as they stand, never decoded or encoded again.
static void BM_HeaderAmendmentListOverCorpus(benchmark::State& state) {
    runListOverCorpus(state,
                      {PWHeaderAmendment::initWithHeaderKey(u"X-Rule", u"7"),
                       PWSubjectAmendment::newWithSubjectTemplate(u"[Rule] {{subject}}"),
                       PWAddRecipientAmendment::initWithRecipients({ruleAddress()}, kPWRecipientTypeTo)},
                      kPWAmendmentContextDefault);
}
BENCHMARK(BM_HeaderAmendmentListOverCorpus)->Unit(benchmark::kMillisecond);

// The delivery list of a composer's outbox, in delivery context 4: each message's body is rebuilt from its
// rendered HTML.
static void BM_DeliveryAmendmentListOverCorpus(benchmark::State& state) {
    runListOverCorpus(state,
                      {PWAddRecipientAmendment::initWithRecipients({ruleAddress()}, kPWRecipientTypeCc),
                       PWSubjectAmendment::newWithSubjectTemplate(u"[Sent] {{subject}}"),
                       PWPrepareDeliveryAmendment::initWithXMailer(u"Postwright"), PWFragmentMimePartAmendment::init()},
                      kPWAmendmentContextDelivery);
}
BENCHMARK(BM_DeliveryAmendmentListOverCorpus)->Unit(benchmark::kMillisecond);
