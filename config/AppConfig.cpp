#include "config/AppConfig.h"

#include "config/Registry.h"
#include "util/ApiErrorException.h"
#include "util/ErrorException.h"
#include "util/FatalException.h"

#include <algorithm>
#include <iterator>
#include <string>

namespace JY::Pictaro {

bool configWritesDisabled = false;

namespace {

constexpr SourceFile here{"AppConfig"};

using Id = AppConfig::Id;
using Row = AppConfig::Row;
using Type = AppConfig::Type;
using Validator = AppConfig::Validator;

const std::wstring productPath = L"Software\\JyMorvane\\Pictaro";

constexpr Validator any{};

constexpr Validator range(std::int32_t minimum, std::int32_t maximum) {
    return {.kind = Validator::Kind::range, .minimum = minimum, .maximum = maximum};
}

constexpr Row text(Id id, HKEY root, const wchar_t* name, const wchar_t* defaultText) {
    return {id, root, name, Type::string, 0, defaultText, any};
}

constexpr Row number(Id id, HKEY root, const wchar_t* name, std::uint32_t defaultNumber, Validator validator) {
    return {id, root, name, Type::uint32, defaultNumber, nullptr, validator};
}

constexpr Row longNumber(Id id, HKEY root, const wchar_t* name, std::uint64_t defaultNumber, Validator validator) {
    return {id, root, name, Type::uint64, defaultNumber, nullptr, validator};
}

/// The splitter position that stands for none stored: -1 as it is written to the registry.
constexpr std::uint32_t noPosition = 0xFFFFFFFF;

const Row table[] = {
    number(Id::logLevel, HKEY_LOCAL_MACHINE, L"LogLevel", 3, range(0, 6)),
    number(Id::snapshotLogLevel, HKEY_LOCAL_MACHINE, L"SnapshotLogLevel", 0, range(0, 6)),
    text(Id::logDir, HKEY_LOCAL_MACHINE, L"LogDir", L"%TEMP%\\JyMorvane\\Pictaro"),
    text(Id::logDirLowIL, HKEY_LOCAL_MACHINE, L"LogDirLowIL", L"%LocalAppDataLow%\\JyMorvane\\Pictaro"),
    number(Id::sandboxIsLowIL, HKEY_LOCAL_MACHINE, L"SandboxIsLowIL", 1, range(0, 1)),
    number(Id::logEachSize, HKEY_LOCAL_MACHINE, L"LogEachSize", 1048576, range(10240, 1073741824)),
    number(Id::logMaxWrap, HKEY_LOCAL_MACHINE, L"LogMaxWrap", 8, range(4, 32)),
    number(Id::logSnapshotSize, HKEY_LOCAL_MACHINE, L"LogSnapshotSize", 1000, range(10, 99999)),
    number(Id::pvMaxWidth, HKEY_CURRENT_USER, L"PvMaxWidth", 640, range(120, 4320)),
    number(Id::hideFileName, HKEY_LOCAL_MACHINE, L"HideFileName", 1, range(0, 1)),
    text(Id::phSceneLongSidesCsv, HKEY_CURRENT_USER, L"PhSceneLongSidesCsv", L"48,80,120,160,240,320,480"),
    number(Id::phVSplitterPos, HKEY_CURRENT_USER, L"PhVSplitterPos", noPosition, range(-1, 4096)),
    text(Id::phExecVlcOpt, HKEY_CURRENT_USER, L"PhExecVlcOpt", L"--no-one-instance"),
    text(Id::seBgEnableModCsv, HKEY_LOCAL_MACHINE, L"SeBgEnableModCsv", L"prevhost.exe"),
    text(Id::cmAccessKey, HKEY_LOCAL_MACHINE, L"CmAccessKey", L"T"),
    number(Id::sproHoleDef, HKEY_LOCAL_MACHINE, L"SproHoleDef", 16777215, any),
    longNumber(Id::adsCacheOrigin, HKEY_LOCAL_MACHINE, L"AdsCacheOrigin", 0, any),
    number(Id::pvMfKeyMargin, HKEY_CURRENT_USER, L"PvMfKeyMargin", 8, range(-500, 500)),
    number(Id::sbIdleToShutdown, HKEY_LOCAL_MACHINE, L"SbIdleToShutdown", 300000, any),
};

std::uint32_t readValid(const Row& row) {
    const std::uint32_t value = Utl::getUInt(row.root, productPath, row.name);
    if (!row.validator.accepts(value)) {
        throw ApiErrorException(here(), "", ERROR_SUCCESS);
    }
    return value;
}

} // namespace

bool AppConfig::Validator::accepts(std::uint32_t value) const {
    const auto number = static_cast<std::int32_t>(value);
    switch (kind) {
    case Kind::any:
        return true;
    case Kind::range:
        return minimum <= number && number <= maximum;
    case Kind::predicate:
        return predicate == nullptr || predicate(value);
    }
    throw FatalException(here(), "Invalid type.");
}

std::span<const AppConfig::Row> AppConfig::rows() {
    return table;
}

const AppConfig::Row& AppConfig::row(Id id) {
    const auto* const found = std::ranges::find(table, id, &Row::id);
    if (found == std::end(table)) {
        throw FatalException(here(), "Unknown id.");
    }
    return *found;
}

std::uint32_t AppConfig::getUInt(const Row& row) {
    if (row.type != Type::uint32) {
        throw FatalException(here(), "Invalid type.");
    }
    try {
        return readValid(row);
    } catch (const ApiErrorException&) {
        // absent, unreadable or not valid
    } catch (const ErrorException&) {
        // of another type
    }
    return static_cast<std::uint32_t>(row.defaultNumber);
}

void AppConfig::setUInt(const Row& row, std::uint32_t value) {
    if (configWritesDisabled) {
        return;
    }
    if (!row.validator.accepts(value)) {
        throw ErrorException(here(), "Invalid value.") << " name=" << row.name << " value=" << value;
    }
    try {
        Utl::setValue(row.root, productPath, row.name, value);
    } catch (const ApiErrorException& failure) {
        throw ErrorException(here(), "setValue(")
            << row.name << ", " << value << ") failed. reason" << failure.getDescription();
    }
}

} // namespace JY::Pictaro
