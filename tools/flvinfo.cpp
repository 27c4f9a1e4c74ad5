// flvinfo: tells what a media file holds, as Media Foundation opens it.

#include "tools/Failure.h"
#include "tools/InfoOptions.h"
#include "tools/JsonInfoWriter.h"
#include "tools/OpenedSource.h"
#include "tools/Playback.h"
#include "tools/Program.h"
#include "tools/ProgressLine.h"
#include "tools/SampleWalker.h"
#include "tools/Session.h"
#include "tools/SourceFacts.h"
#include "tools/TextInfoWriter.h"

#include <algorithm>
#include <iostream>
#include <memory>

namespace JY::Tools {

namespace {

std::unique_ptr<InfoWriter> makeWriter(const InfoOptions& options) {
    if (options.json) {
        return std::make_unique<JsonInfoWriter>(std::cout, options.samples);
    }
    return std::make_unique<TextInfoWriter>(std::cout);
}

std::vector<StreamAccount> readSamples(IMFMediaSource& source, IMFPresentationDescriptor& presentation,
                                       const SampleVisitor& visit) {
    Playback playback(source);
    playback.start(presentation, 0);
    return walkSamples(playback.streams(), visit);
}

int report(const std::vector<StreamAccount>& accounts, const CommandLine& line) {
    int status = exitSuccess;
    for (const StreamAccount& account : accounts) {
        if (account.failure) {
            std::cerr << line.program << ": stream " << account.identifier << ": " << *account.failure << '\n';
            status = exitFailure;
        }
    }
    return status;
}

int tell(const CommandLine& line) {
    const InfoOptions options = InfoOptions::parse(line.arguments);
    const Session session;
    const OpenedSource source(options.file);
    const auto presentation = createPresentation(source.get());
    const SourceFacts facts = describeSource(options.file, source.get(), *presentation.Get());

    const std::unique_ptr<InfoWriter> writer = makeWriter(options);
    writer->begin(facts);
    ProgressLine progress(std::cerr, errorIsTerminal() ? facts.duration : std::nullopt);
    const auto accounts = readSamples(source.get(), *presentation.Get(), [&](DWORD stream, const SampleFacts& sample) {
        progress.reached(sample.time);
        if (options.samples) {
            writer->sample(stream, sample);
        }
    });
    progress.wipe();
    writer->end(accounts);
    return report(accounts, line);
}

} // namespace

} // namespace JY::Tools

int wmain(int argumentCount, wchar_t** arguments) {
    return JY::Tools::runProgram(argumentCount, arguments, JY::Tools::InfoOptions::usage, JY::Tools::tell);
}
