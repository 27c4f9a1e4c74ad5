#include "tools/SampleWalker.h"

#include "tools/Failure.h"
#include "tools/HResultWords.h"
#include "tools/StreamReader.h"
#include "tools/WrappedTime.h"

#include <algorithm>
#include <iterator>

namespace JY::Tools {

namespace {

/// One stream on its way to its end.
struct Walk {
    StreamReader reader;
    StreamAccount account;
    /// 100 ns.
    LONGLONG reached = 0;
    bool ended = false;

    Walk(DWORD identifier, IMFMediaStream& stream, PlaybackEnd& end) : reader(stream, end) {
        account.identifier = identifier;
    }

    void step(const SampleVisitor& visit) {
        const std::optional<DeliveredSample> delivered = reader.next();
        if (!delivered) {
            ended = true;
            return;
        }
        reached = unwrapped(delivered->facts.time, reached);
        account.add(delivered->facts);
        visit(account.identifier, delivered->facts);
    }
};

/// Null when all have ended.
Walk* furthestBehind(std::vector<Walk>& walks) {
    Walk* result = nullptr;
    for (Walk& walk : walks) {
        if (!walk.ended && (result == nullptr || walk.reached < result->reached)) {
            result = &walk;
        }
    }
    return result;
}

} // namespace

std::vector<StreamAccount> walkSamples(const PlayingStreams& streams, const SampleVisitor& visit) {
    PlaybackEnd end;
    std::vector<Walk> walks;
    for (const auto& [identifier, stream] : streams) {
        walks.emplace_back(identifier, *stream.Get(), end);
    }
    while (Walk* walk = furthestBehind(walks)) {
        try {
            walk->step(visit);
        } catch (const Failure& failure) {
            walk->ended = true;
            walk->account.failure = std::string(failure.what()) + ": " + hresultInWords(failure.code());
        }
    }
    std::vector<StreamAccount> accounts;
    std::ranges::transform(walks, std::back_inserter(accounts), &Walk::account);
    return accounts;
}

} // namespace JY::Tools
