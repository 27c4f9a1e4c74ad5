#pragma once

namespace JY::Bench {

/// Makes sure that the registry holds no setting of the module. Each changes what is measured: how much the log writes
/// and where, how much of a sample is dumped into it, whether a seek uses the index.
/// @throws std::runtime_error that names the settings.
void requireDefaultSettings();

} // namespace JY::Bench
