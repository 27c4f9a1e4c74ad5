#pragma once

#include "log/Severity.h"

namespace JY::Bench {

/// Seconds that one info record costs which no sink keeps, as where nothing but the text-file sink stands, at "warn".
double secondsPerDroppedRecord();
/// Seconds that one info record costs beside a snapshot sink that keeps all, by the threshold of the text-file sink.
/// The module's is "warn" by default.
/// @throws std::runtime_error when the record is in the text file against the threshold, or is not in it.
double secondsPerRecord(Log2::Severity textThreshold);
/// Seconds that one record costs with 32 bytes in hexadecimal, as each sample has one, kept by the snapshot sink only.
double secondsPerDump();
/// Seconds that the two records of a traced function cost, kept by the snapshot sink only.
double secondsPerTracedFunction();

} // namespace JY::Bench
