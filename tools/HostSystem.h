#pragma once

namespace JY::Tools {

/// Whether the system is Wine rather than Windows. Where its Media Foundation differs in what cannot be asked for, the
/// tools have to know.
bool runsUnderWine();

} // namespace JY::Tools
