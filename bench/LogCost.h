#pragma once

namespace JY::Bench {

/// Seconds that one record costs which no sink keeps, as the module logs where nothing but its text-file sink stands.
double secondsPerDroppedRecord();
/// Seconds that one record costs which only the snapshot sink keeps: the ordinary case in the module.
double secondsPerKeptRecord();
/// Seconds that one record costs which also reaches a text file.
double secondsPerWrittenRecord();
/// Seconds that the two records of a traced function cost, kept by the snapshot sink only.
double secondsPerTracedFunction();

} // namespace JY::Bench
