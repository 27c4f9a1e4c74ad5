#include "flv/FlvMetaDataImpl.h"
#include "log/Core.h"
#include "tests/support/FlvBuilder.h"
#include "tests/support/LogCapture.h"
#include "tests/support/MemoryStream.h"
#include "tests/support/TempFile.h"
#include "tests/support/Thrown.h"
#include "util/ApiErrorException.h"
#include "util/ErrorException.h"
#include "util/File.h"
#include "util/Handle.h"
#include "util/String.h"

#include <chrono>
#include <cstdlib>
#include <future>
#include <gtest/gtest.h>
#include <random>
#include <thread>

namespace {

using namespace JY::Pictaro::Fs;
using JY::ErrorException;
using JY::Pictaro::TimePosition;
using JY::Test::Bytes;
using JY::Test::firstBytes;
using JY::Test::FlvBuilder;
using JY::Test::join;
using JY::Test::LogCapture;
using JY::Test::MemoryStream;
using JY::Test::MetaData;
using JY::Test::TempFile;
using JY::Test::thrown;
namespace Amf0 = JY::Test::Amf0;
using NotFound = FlvMetaData::MetaDataNotFoundException;

constexpr const char* noOnMetaData = "No onMetaData. @FlvMetaData:97";
constexpr const char* tooShortTag = "Too short FlvTag. @FlvTag:21";

FlvMetaDataImpl scanned(const Bytes& file) {
    FlvMetaDataImpl metaData;
    MemoryStream stream(file);
    metaData.scan(stream, JY::Log2::untraced());
    return metaData;
}

FlvMetaDataImpl scanned(const FlvBuilder& builder) {
    return scanned(builder.build());
}

/// The metadata of a file with this "onMetaData" alone.
FlvMetaDataImpl with(const MetaData& metaData) {
    return scanned(FlvBuilder().onMetaData(metaData));
}

std::string thrownByScan(const Bytes& file) {
    return thrown<ErrorException>([&] { scanned(file); });
}

std::string thrownByScan(const FlvBuilder& builder) {
    return thrownByScan(builder.build());
}

std::string thrownByGet(const FlvMetaData& metaData, const std::string& key) {
    return thrown<NotFound>([&] { metaData.getMetaDatum(key); });
}

long double durationOf(const FlvMetaData& metaData) {
    return boost::get<long double>(metaData.getMetaDatum("duration"));
}

} // namespace

TEST(FlvMetaDataScan, FindsTheScriptTagAtTheStart) {
    EXPECT_EQ(durationOf(scanned(FlvBuilder().onMetaData(MetaData().duration(12.5)))), 12.5);
}

TEST(FlvMetaDataScan, FindsAScriptTagBehindMediaOfTheFirstSecond) {
    FlvBuilder builder;
    builder.aacRaw(0, {1}).avcNalus(1000, FlvBuilder::key, {{0x65}}).onMetaData(MetaData().duration(3));
    EXPECT_EQ(durationOf(scanned(builder)), 3);
}

TEST(FlvMetaDataScan, DoesNotMindTheTimeOfTheScriptTag) {
    EXPECT_EQ(durationOf(scanned(FlvBuilder().onMetaData(MetaData().duration(3), 5000))), 3);
}

TEST(FlvMetaDataScan, DoesNotCheckTheHeader) {
    const Bytes file = FlvBuilder(Bytes(9, 0xFF)).onMetaData(MetaData().duration(3)).build();
    EXPECT_EQ(durationOf(scanned(file)), 3);
}

TEST(FlvMetaDataScan, IsAbortedByAnAudioTagLaterThanOneSecond) {
    const LogCapture log;
    const FlvMetaDataImpl metaData = scanned(FlvBuilder().aacRaw(1001, {1}).onMetaData());
    EXPECT_EQ(log.count(JY::Log2::Severity::warn, "Scan for metaData was aborted."), 1U);
    EXPECT_EQ(log.find("aborted").file, "FlvMetaData");
    EXPECT_EQ(thrownByGet(metaData, "duration"), noOnMetaData);
}

TEST(FlvMetaDataScan, IsAbortedByAVideoTagLaterThanOneSecond) {
    const LogCapture log;
    const FlvMetaDataImpl metaData = scanned(FlvBuilder().avcSequenceHeader(0).avcSequenceHeader(1001).onMetaData());
    EXPECT_EQ(log.count(JY::Log2::Severity::warn, "Scan for metaData was aborted."), 1U);
    EXPECT_EQ(thrownByGet(metaData, "duration"), noOnMetaData);
}

TEST(FlvMetaDataScan, EndsWithTheFirstScriptTagWhateverItsName) {
    FlvBuilder builder;
    builder.script(0, "onTextData", Amf0::number(1)).onMetaData();
    EXPECT_EQ(thrownByGet(scanned(builder), "duration"), noOnMetaData);
}

TEST(FlvMetaDataScan, ScriptTagAtTheEndOfTheFileNeedsNoSizeBehindIt) {
    EXPECT_EQ(durationOf(scanned(FlvBuilder().onMetaData(MetaData().duration(3)).withoutTrailer())), 3);
}

TEST(FlvMetaDataScan, DoesNotMindWhatFollowsTheValueInTheTag) {
    FlvBuilder builder;
    builder.script(0, join({Amf0::string("onMetaData"), MetaData().duration(3).bytes(), Bytes(9, 0xFF)}));
    EXPECT_EQ(durationOf(scanned(builder)), 3);
}

TEST(FlvMetaDataScan, UnknownTypeOfTagThrowsWithItsValue) {
    for (const std::uint8_t type : Bytes{0, 1, 10, 17, 19, 255}) {
        EXPECT_EQ(thrownByScan(FlvBuilder().tag(type, 0, {}).onMetaData()),
                  "Unknown tag type." + std::to_string(type) + " @FlvMetaData:85");
    }
}

TEST(FlvMetaDataScan, EncryptedTagIsOfUnknownType) {
    EXPECT_EQ(thrownByScan(FlvBuilder().tag(0x28, 0, {1}).onMetaData()), "Unknown tag type.40 @FlvMetaData:85");
    EXPECT_EQ(thrownByScan(FlvBuilder().tag(0x29, 0, {1}).onMetaData()), "Unknown tag type.41 @FlvMetaData:85");
    EXPECT_EQ(thrownByScan(FlvBuilder().tag(0x32, 0, {1}).onMetaData()), "Unknown tag type.50 @FlvMetaData:85");
}

TEST(FlvMetaDataScan, FileShorterThanItsHeaderThrows) {
    for (std::size_t size = 0; size < 9; ++size) {
        EXPECT_EQ(thrownByScan(Bytes(size, 0)), "Too short FlvHeader @FlvHeader:23") << size;
    }
}

TEST(FlvMetaDataScan, FileWithoutATagThrows) {
    EXPECT_EQ(thrownByScan(FlvBuilder()), tooShortTag);
    EXPECT_EQ(thrownByScan(FlvBuilder().withoutTrailer()), tooShortTag);
}

TEST(FlvMetaDataScan, ScriptTagThatDoesNotBeginWithAStringThrows) {
    for (const Bytes& body : {Bytes{}, Amf0::number(1), Bytes{0xFF}}) {
        EXPECT_EQ(thrownByScan(FlvBuilder().script(0, body)).substr(0, 33), "Script parse error. @FlvMetaData:");
    }
}

TEST(FlvMetaDataScan, ScriptTagWithAShortNameThrows) {
    EXPECT_EQ(thrownByScan(FlvBuilder().script(0, {2})), "Script parse error. @FlvMetaData:205");
    EXPECT_EQ(thrownByScan(FlvBuilder().script(0, {2, 0, 3, 'a', 'b'})), "Script parse error. @FlvMetaData:208");
}

TEST(FlvMetaDataScan, ScriptTagWithoutAValueThrows) {
    EXPECT_EQ(thrownByScan(FlvBuilder().script(0, Amf0::string("onMetaData"))), "Script parse error. @FlvMetaData:183");
}

TEST(FlvMetaDataScan, ScriptTagWithAValueOfARejectedKindThrowsNotFound) {
    const Bytes file = FlvBuilder().script(0, "onMetaData", Amf0::marker(17)).build();
    EXPECT_EQ(thrown<NotFound>([&] { scanned(file); }), "Script parse error. @FlvMetaData:198");
}

TEST(FlvMetaDataScan, ValueDoesNotReachIntoTheNextTag) {
    const Bytes value = join({Amf0::string("onMetaData"), MetaData::typical().bytes()});
    for (std::uint32_t size = 0; size < value.size(); ++size) {
        FlvBuilder builder;
        builder.withDataSize(size).script(0, value).onMetaData();
        EXPECT_EQ(thrownByScan(builder).substr(0, 33), "Script parse error. @FlvMetaData:") << size;
    }
}

TEST(FlvMetaDataScan, FileThatIsCutInItsScriptTagThrowsWhereverItIsCut) {
    FlvBuilder builder;
    builder.onMetaData(MetaData::typical().keyframes({0, 1}, {100, 200})).withoutTrailer();
    const Bytes whole = builder.build();
    for (std::size_t size = 9; size < whole.size(); ++size) {
        const std::string expected = size < 24 ? tooShortTag : "Script parse error. @FlvMetaData:";
        EXPECT_EQ(thrownByScan(firstBytes(whole, size)).substr(0, expected.size()), expected) << size;
    }
}

TEST(FlvMetaDataScan, NothingIsKeptOfAScriptTagThatThrows) {
    FlvMetaDataImpl metaData;
    MemoryStream stream(FlvBuilder().script(0, "onMetaData", {8, 0, 0, 0, 0}).build());
    EXPECT_THROW(metaData.scan(stream, JY::Log2::untraced()), ErrorException);
    EXPECT_EQ(thrownByGet(metaData, "duration"), noOnMetaData);
}

TEST(FlvMetaDataScan, DuplicateNameIsRecordedAndTheFirstValueStays) {
    FlvMetaDataImpl metaData = with(MetaData().duration(1));
    MemoryStream other(FlvBuilder().onMetaData(MetaData().duration(2)).build());
    const LogCapture log;
    metaData.scan(other, JY::Log2::untraced());
    EXPECT_EQ(log.count("Duplicate key=onMetaData"), 1U);
    EXPECT_EQ(durationOf(metaData), 1);
}

TEST(FlvMetaDataScan, ReadsTheLastTagAgainAndAgainWhenThereIsNoScriptData) {
    FlvBuilder builder;
    builder.aacRaw(0, {1}).aacRaw(1000, {2});
    MemoryStream stream(builder.build());
    stream.failMovesAfter(
        1000); // or there would be no end: two moves past the first tag, one for each reading after it
    FlvMetaDataImpl metaData;
    EXPECT_EQ(thrown<ErrorException>([&] { metaData.scan(stream, JY::Log2::untraced()); }), "Seek error. @FlvTag:71");
    EXPECT_EQ(stream.readCount(), 1U + 1U + 999U);
    EXPECT_EQ(stream.tell(), builder.recordPosition(1) + 15);
}

TEST(FlvMetaDataParse, OpensTheFileByItsPath) {
    const TempFile temp(FlvBuilder().onMetaData(MetaData().duration(7)).build());
    FlvMetaDataImpl metaData;
    metaData.parse(temp.path());
    EXPECT_EQ(durationOf(metaData), 7);
}

TEST(FlvMetaDataParse, ClosesTheFile) {
    const TempFile temp(FlvBuilder().onMetaData().build());
    FlvMetaDataImpl().parse(temp.path());
    EXPECT_NO_THROW(JY::File(temp.path(), GENERIC_READ, 0));
}

TEST(FlvMetaDataParse, ClosesTheFileAfterAFailure) {
    const TempFile temp(FlvBuilder().script(0, Amf0::number(1)).build());
    EXPECT_THROW(FlvMetaDataImpl().parse(temp.path()), ErrorException);
    EXPECT_NO_THROW(JY::File(temp.path(), GENERIC_READ, 0));
}

TEST(FlvMetaDataParse, SharesTheFileWithItsReaders) {
    const TempFile temp(FlvBuilder().onMetaData().build());
    const JY::File reader(temp.path(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE);
    EXPECT_NO_THROW(FlvMetaDataImpl().parse(temp.path()));
}

TEST(FlvMetaDataParse, DoesNotShareTheFileWithAWriter) {
    const TempFile temp(FlvBuilder().onMetaData().build());
    const JY::File writer(temp.path(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE);
    EXPECT_EQ(thrown<JY::ApiErrorException>([&] { FlvMetaDataImpl().parse(temp.path()); }),
              "CreateFile file=" + JY::toNarrow(temp.path()) + ": (0x20) @File:44");
}

TEST(FlvMetaDataParse, MissingFileThrowsCreateFile) {
    const TempFile temp;
    temp.remove();
    EXPECT_EQ(thrown<JY::ApiErrorException>([&] { FlvMetaDataImpl().parse(temp.path()); }),
              "CreateFile file=" + JY::toNarrow(temp.path()) + ": (0x2) @File:44");
}

TEST(FlvMetaDataParse, IsTraced) {
    const TempFile temp(FlvBuilder().onMetaData().build());
    const LogCapture log;
    FlvMetaDataImpl().parse(temp.path());
    EXPECT_EQ(log.count("ENTER: JY::Pictaro::Fs::FlvMetaDataImpl::parse"), 1U);
    EXPECT_EQ(log.count("ENTER: JY::Pictaro::Fs::FlvMetaDataImpl::parseScriptData"), 1U);
    EXPECT_EQ(log.find("ENTER: ").file, "FlvMetaData");
}

TEST(FlvMetaData, StringIsGivenAndRecorded) {
    const FlvMetaDataImpl metaData = with(MetaData().add("encoder", Amf0::string("Lavf")));
    const LogCapture log;
    EXPECT_EQ(boost::get<std::string>(metaData.getMetaDatum("encoder")), "Lavf");
    EXPECT_EQ(log.messages(), (std::vector<std::string>{"key=encoder", "value(string)=Lavf"}));
}

TEST(FlvMetaData, BoolIsGivenAndRecorded) {
    const FlvMetaDataImpl metaData =
        with(MetaData().add("stereo", Amf0::boolean(true)).add("hasCuePoints", Amf0::boolean(false)));
    const LogCapture log;
    EXPECT_TRUE(boost::get<bool>(metaData.getMetaDatum("stereo")));
    EXPECT_FALSE(boost::get<bool>(metaData.getMetaDatum("hasCuePoints")));
    EXPECT_EQ(log.messages(),
              (std::vector<std::string>{"key=stereo", "value(bool)=true", "key=hasCuePoints", "value(bool)=false"}));
}

TEST(FlvMetaData, NumberIsGivenAndRecorded) {
    const FlvMetaDataImpl metaData = with(MetaData().framerate(29.97));
    const LogCapture log;
    EXPECT_EQ(boost::get<long double>(metaData.getMetaDatum("framerate")), static_cast<long double>(29.97));
    EXPECT_EQ(log.messages(), (std::vector<std::string>{"key=framerate", "value(long double)=2.997000e+01"}));
}

TEST(FlvMetaData, DateIsAString) {
    const FlvMetaDataImpl metaData = with(MetaData().add("creationdate", Amf0::date(1000, -60)));
    EXPECT_EQ(boost::get<std::string>(metaData.getMetaDatum("creationdate")), "1000-60");
}

TEST(FlvMetaData, FirstOfDuplicateKeysIsGiven) {
    EXPECT_EQ(durationOf(with(MetaData().duration(1).duration(2))), 1);
}

TEST(FlvMetaData, LookUpIsTraced) {
    const FlvMetaDataImpl metaData = with(MetaData::typical());
    const LogCapture log;
    metaData.getMetaDatum("duration");
    EXPECT_EQ(log.count("ENTER: JY::Pictaro::Fs::FlvMetaDataImpl::getMetaDatum"), 1U);
}

TEST(FlvMetaData, WithoutOnMetaDataNothingIsFound) {
    EXPECT_EQ(thrownByGet(FlvMetaDataImpl(), "duration"), noOnMetaData);
}

TEST(FlvMetaData, OnMetaDataAsAnObjectIsOfAnInvalidType) {
    EXPECT_EQ(thrownByGet(with(MetaData::typical().asObject()), "duration"), "Invalid metaDatas type. @FlvMetaData:98");
}

TEST(FlvMetaData, MissingKeyIsNotFound) {
    EXPECT_EQ(thrownByGet(with(MetaData().width(1)), "duration"), "Key not found. @FlvMetaData:102");
}

TEST(FlvMetaData, ValuesOfOtherKindsAreNotSupported) {
    const FlvMetaDataImpl metaData = with(
        MetaData().add("object", Amf0::object({})).add("ecma", Amf0::ecmaArray({})).add("strict", Amf0::numbers({1})));
    for (const char* const key : {"object", "ecma", "strict"}) {
        EXPECT_EQ(thrownByGet(metaData, key), "Unsupported metaData type. @FlvMetaData:117") << key;
    }
}

TEST(FlvMetaData, DamagedFilesEndInTheModulesOwnExceptions) {
    FlvBuilder builder;
    builder.onMetaData(MetaData::typical().indexKeyFrames().add("creationdate", Amf0::date(1e12, 60)))
        .avcSequenceHeader(0)
        .avcNalus(0, FlvBuilder::key, {{0x65}})
        .avcNalus(2000, FlvBuilder::key, {{0x65}});
    const Bytes whole = builder.build();
    std::mt19937 random(20); // the same files in every run
    unsigned decoded = 0;
    for (int round = 0; round < 20000; ++round) {
        Bytes damaged = whole;
        for (unsigned count = 1 + random() % 3; count != 0; --count) {
            damaged[9 + random() % (damaged.size() - 9)] = static_cast<std::uint8_t>(random());
        }
        FlvMetaDataImpl metaData;
        MemoryStream stream(damaged);
        stream.failMovesAfter(1000); // or some would have no end
        try {
            metaData.scan(stream, JY::Log2::untraced());
            ++decoded;
            metaData.getMetaDatum("duration");
            metaData.getMetaDatum("creationdate");
            metaData.getNearlestLessKeyFrame(TimePosition(1000000));
        } catch (const JY::Exception&) {
            // This is what may come.
        }
    }
    EXPECT_GT(decoded, 1000U);
    EXPECT_LT(decoded, 20000U);
}

namespace {

/// Processor time that this process has taken (100 ns).
std::uint64_t processorTime() {
    FILETIME ignored;
    FILETIME kernel;
    FILETIME user;
    EXPECT_TRUE(GetProcessTimes(GetCurrentProcess(), &ignored, &ignored, &kernel, &user));
    const auto number = [](FILETIME time) { return (std::uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime; };
    return number(kernel) + number(user);
}

constexpr const wchar_t* endlessFileVariable = L"JY_TEST_ENDLESS_FILE";
constexpr const wchar_t* endlessEventVariable = L"JY_TEST_ENDLESS_EVENT";

/// This program once more, running one test; ended when it goes.
class ChildProcess {
public:
    explicit ChildProcess(const std::wstring& test) {
        wchar_t program[MAX_PATH];
        GetModuleFileNameW(nullptr, program, MAX_PATH);
        std::wstring command =
            L"\"" + std::wstring(program) + L"\" --gtest_also_run_disabled_tests --gtest_filter=" + test;
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION information{};
        EXPECT_TRUE(CreateProcessW(program, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                                   &information));
        process_ = JY::Handle(information.hProcess);
        thread_ = JY::Handle(information.hThread);
    }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    ~ChildProcess() {
        TerminateProcess(process_.get(), 0);
        EXPECT_EQ(WaitForSingleObject(process_.get(), 10000), WAIT_OBJECT_0);
    }
    HANDLE handle() const { return process_.get(); }

private:
    JY::Handle process_;
    JY::Handle thread_;
};

} // namespace

/// Run in a process of its own by the test that follows: the scan does not end. Tells by the event that it went on for
/// some seconds, then waits to be ended.
TEST(FlvMetaDataEndlessScan, DISABLED_Child) {
    const JY::Handle goesOn(OpenEventW(EVENT_MODIFY_STATE, FALSE, _wgetenv(endlessEventVariable)));
    ASSERT_TRUE(goesOn);
    std::promise<void> end;
    std::thread([&] {
        FlvMetaDataImpl().parse(_wgetenv(endlessFileVariable));
        end.set_value();
    }).detach();
    const std::future<void> hasEnded = end.get_future();
    if (hasEnded.wait_for(std::chrono::seconds(1)) == std::future_status::timeout) {
        const std::uint64_t before = processorTime();
        if (hasEnded.wait_for(std::chrono::seconds(3)) == std::future_status::timeout &&
            processorTime() > before + 1000000) { // 0.1 seconds
            SetEvent(goesOn.get());
            Sleep(60000);
        }
    }
    TerminateProcess(GetCurrentProcess(), 1);
}

TEST(FlvMetaDataEndlessScan, FileWithoutScriptDataThatEndsWithinItsFirstSecondIsScannedWithoutEnd) {
    const TempFile temp(FlvBuilder().aacRaw(0, {1}).aacRaw(1000, {2}).build());
    const std::wstring eventName = L"jy-test-endless-" + std::to_wstring(GetCurrentProcessId());
    const JY::Handle goesOn(CreateEventW(nullptr, TRUE, FALSE, eventName.c_str()));
    _wputenv_s(endlessFileVariable, temp.path().c_str());
    _wputenv_s(endlessEventVariable, eventName.c_str());
    const ChildProcess child(L"FlvMetaDataEndlessScan.DISABLED_Child");
    const HANDLE events[] = {goesOn.get(), child.handle()};
    EXPECT_EQ(WaitForMultipleObjects(2, events, FALSE, 60000), WAIT_OBJECT_0);
}
