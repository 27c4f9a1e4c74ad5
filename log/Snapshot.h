#pragma once

namespace JY::Log2 {

/// Writes the recent records to a file.
using SnapshotWriter = void (*)();

/// Installs what `requestSnapshot` calls; null for nothing. Start-up and shut-down only.
void setSnapshotWriter(SnapshotWriter writer);

/// Asks for a snapshot of the recent records; due after every fatal record of a COM boundary. One that fails is
/// recorded and changes nothing for the caller. Any thread.
void requestSnapshot() noexcept;

} // namespace JY::Log2
