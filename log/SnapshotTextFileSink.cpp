#include "log/SnapshotTextFileSink.h"

#include "util/Sha1Calculator.h"

#include <bit>
#include <cstdio>
#include <mutex>
#include <utility>

namespace JY::Log2 {

namespace {

constexpr SourceFile here{"SnapshotTextFileSink"};

/// Puts a calculator into its place for as long as the scope lasts.
class CalculatorScope {
public:
    CalculatorScope(Sha1Calculator*& place, Sha1Calculator& calculator) : place_(place) { place = &calculator; }
    CalculatorScope(const CalculatorScope&) = delete;
    CalculatorScope& operator=(const CalculatorScope&) = delete;
    ~CalculatorScope() { place_ = nullptr; }

private:
    Sha1Calculator*& place_;
};

/// Two hexadecimal digits a byte. Whoever checks a block expects each byte rotated left by one bit.
std::string digestText(const Sha1Calculator::Digest& digest) {
    std::string text;
    for (const std::uint8_t byte : digest) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", static_cast<unsigned>(std::rotl(byte, 1)));
        text += digits;
    }
    return text;
}

} // namespace

SnapshotTextFileSink::SnapshotTextFileSink(const std::wstring& directoryPath, std::wstring prefix,
                                           std::uint32_t maxEachSize, std::uint32_t maxWrap,
                                           boost::shared_ptr<FileEraser> eraser, std::uint32_t maxRecords)
    : TextFileSink(directoryPath, std::move(prefix), maxEachSize, maxWrap, std::move(eraser)), records_(maxRecords) {}

void SnapshotTextFileSink::snapshot() {
    const std::lock_guard guard(lock_);
    if (!isOpen()) {
        openSelected();
    }
    writeNotice(here(), "Begin snapshot.-----");
    const std::string digest = writeKeptRecords();
    writeNotice(here(), "End snapshot.----- Digest=" + digest);
}

void SnapshotTextFileSink::doWrite(const Record& record) {
    try {
        records_.keep(record);
    } catch (...) {
        // A log that fails must not fail its caller.
    }
}

void SnapshotTextFileSink::onWritten(std::string_view bytes) {
    if (calculator_ != nullptr) {
        calculator_->update(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    }
}

void SnapshotTextFileSink::writeNotice(SourcePosition position, std::string_view message) {
    writeLine(makeRecord(position, Severity::notice, message));
}

std::string SnapshotTextFileSink::writeKeptRecords() {
    Sha1Calculator calculator; // a new one: the begin record is not covered
    const CalculatorScope scope(calculator_, calculator);
    for (std::size_t index = 0; index < records_.size(); ++index) {
        writeLine(records_[index]);
    }
    return digestText(calculator.digest());
}

} // namespace JY::Log2
