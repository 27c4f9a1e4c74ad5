// Opens damaged files through the module and looks for what must not happen: faults, crashes, endless work, things left
// behind, results that no client can use.

#include "tests/fuzz/Controller.h"
#include "tests/fuzz/Mutator.h"
#include "tests/fuzz/SharedProgress.h"
#include "tests/fuzz/Worker.h"

#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>

namespace {

using namespace JY::Fuzz;

void writeCase(const Options& options) {
    Random random = Random::ofCase(options.seed, options.first);
    const Bytes file = Mutator(buildCorpus()).makeFile(random);
    std::ofstream stream(std::filesystem::path(options.writeTo), std::ios::binary);
    stream.write(reinterpret_cast<const char*>(file.data()), static_cast<std::streamsize>(file.size()));
    if (!stream) {
        throw std::runtime_error("The file cannot be written.");
    }
}

int run(const Options& options) {
    if (!options.progress.empty()) {
        const SharedProgress progress(options.progress);
        work(options, progress.get());
        return 0;
    }
    if (!options.writeTo.empty()) {
        writeCase(options);
        return 0;
    }
    return control(options) == 0 ? 0 : 1;
}

} // namespace

int wmain(int count, wchar_t** arguments) {
    const auto options = parseOptions({arguments + 1, arguments + count});
    if (!options) {
        std::fputs(usage, stderr);
        return 2;
    }
    try {
        return run(*options);
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "%s\n", exception.what());
        return 2;
    }
}
