#pragma once

#include "log/RecordRing.h"
#include "log/SinkSnapshot.h"
#include "log/TextFileSink.h"

#include <string>

namespace JY {
class Sha1Calculator;
}

namespace JY::Log2 {

/// Keeps the most recent records in memory and writes them into its files on request only. Any thread. The files are
/// those of a TextFileSink; the first snapshot opens one, so `start` is not called.
class SnapshotTextFileSink final : public TextFileSink, public SinkSnapshot {
public:
    /// As for TextFileSink; `maxRecords` is how many records are kept.
    SnapshotTextFileSink(const std::wstring& directoryPath, std::wstring prefix, std::uint32_t maxEachSize,
                         std::uint32_t maxWrap, boost::shared_ptr<FileEraser> eraser, std::uint32_t maxRecords);

    /// Writes a begin record, every kept record in order and an end record with the SHA-1 digest of the kept records'
    /// bytes. Other threads' records wait meanwhile. Without a digest the block has no end record.
    void snapshot() override;

protected:
    /// Copies the record and does nothing else: every record of the process comes here.
    void doWrite(const Record& record) override;
    void onWritten(std::string_view bytes) override;

private:
    void writeNotice(SourcePosition position, std::string_view message);
    /// Returns the digest as text.
    std::string writeKeptRecords();

    RecordRing records_;
    Sha1Calculator* calculator_ = nullptr; ///< takes what is written, while kept records are
};

} // namespace JY::Log2
