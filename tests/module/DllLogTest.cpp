#include "tests/log/Sha1.h"
#include "tests/module/LoadedModule.h"
#include "tests/module/ModuleLog.h"
#include "tests/source/ClientObjects.h"
#include "tests/support/ModuleSetting.h"
#include "tests/support/OpenHandles.h"
#include "tests/support/PrivateMemory.h"
#include "tests/support/ProgramRun.h"

#include <windows.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

namespace {

using JY::Test::CanUnloadNow;
using JY::Test::ClientCallback;
using JY::Test::ClientState;
using JY::Test::countIn;
using JY::Test::countOpenHandles;
using JY::Test::GetClassObject;
using JY::Test::LoadedModule;
using JY::Test::logFileName;
using JY::Test::ModuleLog;
using JY::Test::ModuleSetting;
using JY::Test::privateBytes;
using JY::Test::ProgramRun;
using JY::Test::rotatedDigest;
using JY::Test::runProgramBeside;
using JY::Test::snapshotFileName;

constexpr std::size_t maxFileSize = 0x100000;

HRESULT askWithoutAPlace(const LoadedModule& module) {
    return module.find<GetClassObject>("DllGetClassObject")(JY::Pictaro::Fs::CLSID_FlvByteStreamHandler, IID_IUnknown,
                                                            nullptr);
}

/// The bytes of a snapshot's kept records, and the digest that its end record names.
struct Block {
    std::string keptBytes;
    std::string digest;
};

Block parseOnlyBlock(const std::string& text) {
    constexpr std::size_t headLength = 68;
    const std::string beginText = "Begin snapshot.-----\r\n";
    const std::string endText = "End snapshot.----- Digest=";
    const std::size_t begin = text.find(beginText) + beginText.size();
    const std::size_t end = text.find(endText);
    EXPECT_EQ(countIn(text, beginText), 1U);
    EXPECT_EQ(countIn(text, endText), 1U);
    return {text.substr(begin, end - headLength - begin), text.substr(end + endText.size(), 40)};
}

TEST(DllLog, RunsFromLoadToUnload) {
    const ModuleLog log;
    const ModuleSetting level(L"LogLevel", 0);
    { const LoadedModule module; }
    const std::string text = log.text();
    ASSERT_EQ(countIn(text, ") AppLog initialized. DirPath="), 1U);
    ASSERT_EQ(countIn(text, ") onProcessAttach.\r\n"), 1U);
    ASSERT_EQ(countIn(text, ") onProcessDetach.\r\n"), 1U);
    EXPECT_LT(text.find(") AppLog initialized. DirPath="), text.find(") onProcessAttach.\r\n"));
    EXPECT_LT(text.find(") onProcessAttach.\r\n"), text.find(") onProcessDetach.\r\n"));
    EXPECT_TRUE(text.ends_with(") AppLog finalizing\r\n"));
    EXPECT_EQ(countIn(text, "There are some Logger instances exists."), 0U);
}

TEST(DllLog, NamesTheModuleAndItsVersion) {
    const ModuleLog log;
    std::array<wchar_t, 4096> path{};
    {
        const LoadedModule module;
        GetModuleFileNameW(GetModuleHandleW(L"JyFlvSource.dll"), path.data(), static_cast<DWORD>(path.size()));
    }
    EXPECT_EQ(log.count(") Module=" + std::filesystem::path(path.data()).string() + "\r\n"), 1U);
    EXPECT_EQ(log.count(") Exe=" + (JY::Test::programFolder() / "module_tests.exe").string() + "\r\n"), 1U);
    EXPECT_EQ(log.count(") OriginalFilename=JyFlvSource.dll, ProductVersion=" JY_PROJECT_VERSION
                        ", FileVersion=" JY_PROJECT_VERSION "\r\n"),
              1U);
    EXPECT_EQ(log.count(" warn "), 0U);
}

TEST(DllLog, FatalRecordIsFollowedByASnapshotWithAGoodDigest) {
    const ModuleLog log;
    {
        const LoadedModule module;
        EXPECT_EQ(module.find<CanUnloadNow>("DllCanUnloadNow")(), S_OK);
        EXPECT_EQ(askWithoutAPlace(module), E_INVALIDARG);
    }
    EXPECT_EQ(countIn(log.text(), " fatal  dllmain "), 1U);
    const Block block = parseOnlyBlock(log.read(snapshotFileName(0)));
    EXPECT_EQ(countIn(block.keptBytes, ") DllCanUnloadNow=OK\r\n"), 1U); // below the files' threshold
    EXPECT_EQ(countIn(block.keptBytes, ") ppObject is NULL.\r\n"), 1U);
    EXPECT_EQ(block.digest, rotatedDigest(block.keptBytes));
}

TEST(DllLog, RingOfFilesIsFilledAndUsedAgain) {
    const ModuleLog log;
    {
        const ModuleSetting level(L"LogLevel", 0);
        const LoadedModule module;
        auto* const canUnloadNow = module.find<CanUnloadNow>("DllCanUnloadNow");
        // Until the ninth file would begin.
        while (log.read(logFileName(0)).starts_with("20") && log.fileNames().size() < 8) {
            for (int call = 0; call < 2000; ++call) {
                canUnloadNow();
            }
        }
        const std::string first = log.read(logFileName(0)).substr(0, 1000);
        while (log.read(logFileName(0)).starts_with(first)) {
            for (int call = 0; call < 500; ++call) {
                canUnloadNow();
            }
        }
    }
    std::vector<std::string> expected;
    for (unsigned index = 0; index < 8; ++index) {
        expected.push_back(logFileName(index));
    }
    EXPECT_EQ(log.fileNames(), expected);
    EXPECT_EQ(log.count("AppLog initialized."), 0U); // the oldest went
    EXPECT_LT(log.read(expected[0]).size(), maxFileSize);
    for (unsigned index = 1; index < 8; ++index) {
        const std::size_t size = log.read(expected[index]).size();
        EXPECT_GT(size, maxFileSize) << index;
        EXPECT_LT(size, maxFileSize + 200) << index; // one record more
    }
}

TEST(DllLog, ProcessesShareADirectoryAndNotTheirFiles) {
    const ModuleLog log;
    const ModuleSetting level(L"LogLevel", 0);
    std::array<ProgramRun, 4> runs;
    {
        std::vector<std::jthread> threads;
        for (ProgramRun& run : runs) {
            threads.emplace_back([&run] {
                run = runProgramBeside(L"module_driver.exe", {L"call", L"500", L"fatal", L"call", L"500", L"unload"});
            });
        }
    }
    for (const ProgramRun& run : runs) {
        ASSERT_EQ(run.errors, "");
        const std::string text = log.read("JyFlvSource-" + run.output + "-0.log");
        EXPECT_EQ(countIn(text, ") DllCanUnloadNow=OK\r\n"), 1000U);
        EXPECT_EQ(countIn(text, ") AppLog initialized. DirPath="), 1U);
        EXPECT_TRUE(text.ends_with(") AppLog finalizing\r\n"));
        const Block block = parseOnlyBlock(log.read("JyFlvSource-" + run.output + "-s-0.log"));
        EXPECT_EQ(block.digest, rotatedDigest(block.keptBytes));
    }
    EXPECT_EQ(log.fileNames().size(), 8U);
}

TEST(DllLog, EndOfTheProcessClosesTheLog) {
    const ModuleLog log;
    const ProgramRun run = runProgramBeside(L"module_driver.exe", {L"call", L"1"});
    ASSERT_EQ(run.errors, "");
    EXPECT_TRUE(log.read("JyFlvSource-" + run.output + "-0.log").ends_with(") AppLog finalizing\r\n"));
}

TEST(DllLog, ProcessEndsWhileItsThreadsLog) {
    const ModuleLog log;
    const ModuleSetting level(L"LogLevel", 0);
    for (int round = 0; round < 10; ++round) {
        const ProgramRun run = runProgramBeside(L"module_driver.exe", {L"busy"});
        EXPECT_EQ(run.status, 0U);
        EXPECT_EQ(run.errors, "");
        EXPECT_NE(run.output, "");
    }
}

TEST(DllLog, VersionStandsInTheTableThatItIsLookedForIn) {
    const LoadedModule module;
    std::array<wchar_t, 4096> path{};
    GetModuleFileNameW(GetModuleHandleW(L"JyFlvSource.dll"), path.data(), static_cast<DWORD>(path.size()));
    std::vector<std::byte> block(GetFileVersionInfoSizeW(path.data(), nullptr));
    ASSERT_TRUE(GetFileVersionInfoW(path.data(), 0, static_cast<DWORD>(block.size()), block.data()));
    void* value = nullptr;
    UINT size = 0;
    EXPECT_TRUE(VerQueryValueW(block.data(), L"\\StringFileInfo\\041104b0\\FileVersion", &value, &size));
    EXPECT_TRUE(VerQueryValueW(block.data(), L"\\VarFileInfo\\Translation", &value, &size));
    ASSERT_EQ(size, 2 * sizeof(WORD));
    EXPECT_EQ(static_cast<const WORD*>(value)[0], 0x0411);
    EXPECT_EQ(static_cast<const WORD*>(value)[1], 0x04b0);
}

/// Has the library throw and catch an exception on this thread.
void provoke(const LoadedModule& module, ClientCallback& callback) {
    const auto handler = module.makeHandler();
    ClientState bytes; // in the place of a byte stream, which is not used
    EXPECT_EQ(handler->BeginCreateObject(reinterpret_cast<IMFByteStream*>(&bytes), L"no URL", MF_RESOLUTION_MEDIASOURCE,
                                         nullptr, nullptr, &callback, nullptr),
              E_INVALIDARG);
}

/// A thread that throws in each load of the library and lives longer than all of them.
class LongThread {
public:
    explicit LongThread(ClientCallback& callback)
        : thread_([&, this](const std::stop_token& stop) {
              while (!stop.stop_requested()) {
                  if (const LoadedModule* const module = module_) {
                      provoke(*module, callback);
                      module_ = nullptr;
                  }
                  Sleep(0);
              }
          }) {}

    /// Returns when the thread has thrown.
    void provokeIn(const LoadedModule& module) {
        module_ = &module;
        while (module_ != nullptr) {
            Sleep(0);
        }
    }

private:
    std::atomic<const LoadedModule*> module_ = nullptr;
    std::jthread thread_;
};

TEST(DllLog, AThousandLoadsLeaveNothingBehind) {
    const ModuleLog log;
    ClientCallback callback;
    LongThread otherThread(callback);
    const auto useOnce = [&] {
        const LoadedModule module;
        provoke(module, callback);
        otherThread.provokeIn(module);
    };
    for (int warmUp = 0; warmUp < 50; ++warmUp) {
        useOnce();
    }
    EXPECT_EQ(log.count("Exception caught. class JY::ApiErrorException, PathCreateFromUrl"), 100U);
    const std::size_t handles = countOpenHandles();
    const std::size_t memory = privateBytes();
    for (int i = 0; i < 1000; ++i) {
        useOnce();
    }
    EXPECT_EQ(countOpenHandles(), handles);
    EXPECT_LT(privateBytes(), memory + 200'000); // 200 bytes a load
}

} // namespace
