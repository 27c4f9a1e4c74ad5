#include "tools/LogFileName.h"

#include <limits>

namespace JY::Tools {

namespace {

constexpr std::wstring_view snapshotMark = L"s-";
constexpr std::wstring_view extension = L".log";

/// Takes a file name apart from its beginning on.
class NameReader {
public:
    explicit NameReader(std::wstring_view name) : rest_(name) {}

    bool take(std::wstring_view wanted) {
        const int size = static_cast<int>(wanted.size());
        if (rest_.size() < wanted.size() ||
            CompareStringOrdinal(rest_.data(), size, wanted.data(), size, TRUE) != CSTR_EQUAL) {
            return false;
        }
        rest_.remove_prefix(wanted.size());
        return true;
    }

    bool takeNumber(DWORD& number) {
        const std::size_t size = std::min(rest_.find_first_not_of(L"0123456789"), rest_.size());
        ULONGLONG value = 0;
        for (const wchar_t digit : rest_.substr(0, size)) {
            value = value * 10 + static_cast<ULONGLONG>(digit - L'0');
            if (value > std::numeric_limits<DWORD>::max()) {
                return false;
            }
        }
        // The log writes numbers without zeros in front.
        const bool written = size == 1 || (size > 1 && rest_.front() != L'0');
        number = static_cast<DWORD>(value);
        rest_.remove_prefix(size);
        return written;
    }

    bool ended() const { return rest_.empty(); }

private:
    std::wstring_view rest_;
};

} // namespace

std::optional<LogFileName> LogFileName::parse(std::wstring_view name) {
    LogFileName result;
    NameReader reader(name);
    if (!reader.take(prefix) || !reader.takeNumber(result.process) || !reader.take(L"-")) {
        return std::nullopt;
    }
    result.snapshot = reader.take(snapshotMark);
    if (!reader.takeNumber(result.index) || !reader.take(extension) || !reader.ended()) {
        return std::nullopt;
    }
    return result;
}

} // namespace JY::Tools
