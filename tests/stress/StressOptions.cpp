#include "tests/stress/StressOptions.h"

#include <charconv>
#include <stdexcept>

namespace JY::Test {

namespace {

template <class Number>
Number number(const std::string& text) {
    Number value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value == 0) {
        throw std::invalid_argument("no positive number: " + text);
    }
    return value;
}

} // namespace

StressOptions parseStressOptions(const std::vector<std::string>& arguments) {
    StressOptions options;
    for (auto argument = arguments.begin(); argument != arguments.end(); ++argument) {
        const auto value = [&]() -> const std::string& {
            if (argument + 1 == arguments.end()) {
                throw std::invalid_argument("no value behind " + *argument);
            }
            return *++argument;
        };
        if (*argument == "--control") {
            options.isControl = true;
        } else if (*argument == "--deadlock") {
            options.isDeadlock = true;
        } else if (*argument == "--crash") {
            options.isCrash = true;
        } else if (*argument == "--seconds") {
            options.seconds = number<unsigned>(value());
        } else if (*argument == "--seed") {
            options.seed = number<std::uint64_t>(value());
        } else if (*argument == "--threads") {
            options.threads = number<unsigned>(value());
        } else if (*argument == "--patience") {
            options.patience = number<unsigned>(value());
        } else {
            throw std::invalid_argument("unknown: " + *argument);
        }
    }
    return options;
}

} // namespace JY::Test
