#pragma once

#include <windows.h>

#include <cstdint>
#include <span>

namespace JY::Pictaro {

/// Process-wide switch that turns writing the product-wide configuration off. Off; nothing in the module sets it.
extern bool configWritesDisabled;

/// The configuration that the programs of the product share: values below "Software\JyMorvane\Pictaro" (64-bit view),
/// each with a default and a rule for what is valid. Nothing is cached. Any thread.
class AppConfig {
public:
    AppConfig() = delete;

    /// A row's position in the product's table, which has more rows than this module carries.
    enum class Id : std::uint32_t {
        logLevel = 0,
        snapshotLogLevel = 1,
        logDir = 2,
        logDirLowIL = 3,
        sandboxIsLowIL = 4,
        logEachSize = 5,
        logMaxWrap = 6,
        logSnapshotSize = 7,
        pvMaxWidth = 17,
        hideFileName = 36,
        phSceneLongSidesCsv = 39,
        phVSplitterPos = 66,
        phExecVlcOpt = 68,
        seBgEnableModCsv = 72,
        cmAccessKey = 73,
        sproHoleDef = 86,
        adsCacheOrigin = 92,
        pvMfKeyMargin = 97,
        sbIdleToShutdown = 99,
    };

    enum class Type : std::uint32_t { string = 0, uint32 = 1, uint64 = 2 };

    /// What a number must be to be valid.
    struct Validator {
        enum class Kind : std::uint32_t { any = 0, range = 1, predicate = 2 };
        using Predicate = bool (*)(std::uint32_t value);

        Kind kind = Kind::any;
        std::int32_t minimum = 0;      ///< of a range; belongs to it
        std::int32_t maximum = 0;      ///< of a range; belongs to it
        Predicate predicate = nullptr; ///< null accepts everything

        /// A range compares the value as a signed number. Throws FatalException for an unknown kind.
        bool accepts(std::uint32_t value) const;
    };

    struct Row {
        Id id;
        HKEY root;
        const wchar_t* name;
        Type type;
        std::uint64_t defaultNumber; ///< of a number
        const wchar_t* defaultText;  ///< of a string; else null
        Validator validator;
    };

    /// The rows that this module carries, by id.
    static std::span<const Row> rows();
    static const Row& row(Id id);

    /// The value of a 32-bit row; its default when the value cannot be read or is not valid. Throws FatalException for
    /// a row of another type.
    static std::uint32_t getUInt(const Row& row);
    /// Writes a number. Throws ErrorException for a value that is not valid, and when it cannot be written.
    static void setUInt(const Row& row, std::uint32_t value);
};

} // namespace JY::Pictaro
