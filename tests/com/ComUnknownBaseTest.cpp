#include "com/ComUnknownBase.h"

#include "com/InterfaceQuery.h"
#include "log/CoreImpl.h"
#include "tests/support/FailingCore.h"
#include "tests/support/LogCapture.h"
#include "tests/support/VirtualSlot.h"
#include "util/ErrorException.h"
#include "util/Lock.h"

#include <boost/make_shared.hpp>

#include <atomic>
#include <chrono>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <new>
#include <thread>
#include <vector>

namespace {

using namespace JY;
using namespace JY::Pictaro;
using Microsoft::WRL::ComPtr;
using Test::LogCapture;
using Test::slotOf;
using testing::ElementsAre;

constexpr SourceFile here{"ComUnknownBaseTest"};

unsigned firstObtains = 0;
unsigned lastReleases = 0;

class ModuleUsageCounterTest : public testing::Test {
protected:
    ModuleUsageCounterTest() {
        firstObtains = 0;
        lastReleases = 0;
        counter.setActions([] { ++firstObtains; }, [] { ++lastReleases; });
    }
    ModuleUsageCounter counter;
};

class Object final : public ComUnknownBase<IUnknown> {
public:
    Object(ModuleUsageCounter& counter, bool& destroyed) : ComUnknownBase(counter), destroyed_(destroyed) {}
    ~Object() override { destroyed_ = true; }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** result) override {
        return comCall({here(), &typeid(*this), "QueryInterface"}, [&](const ComCall& call) {
            return answerQuery(call, here(), *this, riid, result,
                               {{IID_IUnknown, "IUnknown", this}, {IID_IClassFactory, "IClassFactory", nullptr}});
        });
    }

private:
    bool& destroyed_;
};

TEST(ModuleLock, HasItsOperationsInTheirOrder) {
    EXPECT_EQ(slotOf(&Lock::lock), 0U);
    EXPECT_EQ(slotOf(&Lock::unlock), 1U);
}

TEST_F(ModuleUsageCounterTest, CallsItsActionsWhenTheCountLeavesAndReturnsToZero) {
    counter.obtain();
    counter.obtain();
    EXPECT_EQ(firstObtains, 1U);
    counter.release();
    EXPECT_EQ(lastReleases, 0U);
    counter.release();
    EXPECT_EQ(lastReleases, 1U);
    EXPECT_EQ(counter.count(), 0U);
}

TEST_F(ModuleUsageCounterTest, CallsItsActionsAgainForTheNextFirstObject) {
    for (int i = 0; i < 3; ++i) {
        counter.obtain();
        counter.release();
    }
    EXPECT_EQ(firstObtains, 3U);
    EXPECT_EQ(lastReleases, 3U);
}

TEST_F(ModuleUsageCounterTest, NeedsNoActions) {
    counter.setActions(nullptr, nullptr);
    counter.obtain();
    EXPECT_EQ(counter.count(), 1U);
    counter.release();
    EXPECT_EQ(counter.count(), 0U);
}

TEST_F(ModuleUsageCounterTest, CountsNothingWhenTheFirstObtainActionThrows) {
    counter.setActions([] { throw ErrorException(here(), "x"); }, nullptr);
    EXPECT_THROW(counter.obtain(), ErrorException);
    EXPECT_EQ(counter.count(), 0U);
    counter.setActions([] { ++firstObtains; }, nullptr);
    std::thread([&] { counter.obtain(); }).join(); // the lock was released
    EXPECT_EQ(firstObtains, 1U);
    EXPECT_EQ(counter.count(), 1U);
}

std::atomic<bool> actionIsRunning = false;
std::atomic<bool> actionMayEnd = false;

void awaitTrue(const std::atomic<bool>& flag) {
    while (!flag) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

TEST_F(ModuleUsageCounterTest, SecondObjectWaitsForTheFirstObtainAction) {
    actionIsRunning = false;
    actionMayEnd = false;
    counter.setActions(
        [] {
            ++firstObtains;
            actionIsRunning = true;
            awaitTrue(actionMayEnd);
        },
        nullptr);
    std::atomic<bool> secondObtained = false;
    std::jthread first([&] { counter.obtain(); });
    awaitTrue(actionIsRunning);
    std::jthread second([&] {
        counter.obtain();
        secondObtained = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(secondObtained);
    EXPECT_EQ(counter.count(), 0U);
    actionMayEnd = true;
    first.join();
    second.join();
    EXPECT_TRUE(secondObtained);
    EXPECT_EQ(firstObtains, 1U);
    EXPECT_EQ(counter.count(), 2U);
}

TEST_F(ModuleUsageCounterTest, NextObjectWaitsForTheLastReleaseAction) {
    actionIsRunning = false;
    actionMayEnd = false;
    counter.setActions([] { ++firstObtains; },
                       [] {
                           actionIsRunning = true;
                           awaitTrue(actionMayEnd);
                           ++lastReleases;
                       });
    counter.obtain();
    std::atomic<bool> obtainedAgain = false;
    std::jthread last([&] { counter.release(); });
    awaitTrue(actionIsRunning);
    std::jthread next([&] {
        counter.obtain();
        obtainedAgain = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(obtainedAgain);
    EXPECT_EQ(firstObtains, 1U);
    actionMayEnd = true;
    last.join();
    next.join();
    EXPECT_EQ(lastReleases, 1U);
    EXPECT_EQ(firstObtains, 2U);
    EXPECT_EQ(counter.count(), 1U);
}

TEST_F(ModuleUsageCounterTest, ReleasesTheLockWhenTheLastReleaseActionThrows) {
    counter.setActions(nullptr, [] { throw ErrorException(here(), "x"); });
    counter.obtain();
    EXPECT_THROW(counter.release(), ErrorException);
    EXPECT_EQ(counter.count(), 0U);
    std::thread([&] { counter.obtain(); }).join(); // would wait for ever on a lock left held
    EXPECT_EQ(counter.count(), 1U);
}

TEST_F(ModuleUsageCounterTest, IsExactUnderManyThreads) {
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 8; ++i) {
            threads.emplace_back([&] {
                for (int round = 0; round < 1000; ++round) {
                    const ModuleUsage usage(counter);
                }
            });
        }
    }
    EXPECT_EQ(counter.count(), 0U);
    EXPECT_EQ(firstObtains, lastReleases);
}

TEST_F(ModuleUsageCounterTest, IsHeldByEveryObject) {
    bool destroyed = false;
    const LogCapture log;
    auto object = createObject<Object>(counter, destroyed);
    EXPECT_EQ(counter.count(), 1U);
    object.Reset();
    EXPECT_TRUE(destroyed);
    EXPECT_EQ(counter.count(), 0U);
}

TEST_F(ModuleUsageCounterTest, IsLeftAloneByAnObjectWhoseConstructionFails) {
    class Failing final : public ComUnknownBase<IUnknown> {
    public:
        explicit Failing(ModuleUsageCounter& users) : ComUnknownBase(users) { throw ErrorException(here(), "x"); }
        HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOTIMPL; }
    };
    EXPECT_THROW(createObject<Failing>(counter), ErrorException);
    EXPECT_EQ(counter.count(), 0U);
}

class ComUnknownBaseTest : public ModuleUsageCounterTest {
protected:
    bool destroyed = false;
    LogCapture log;
};

TEST_F(ComUnknownBaseTest, CountsReferencesFromOne) {
    const auto object = createObject<Object>(counter, destroyed);
    EXPECT_EQ(object->AddRef(), 2U);
    EXPECT_EQ(object->Release(), 1U);
    EXPECT_FALSE(destroyed);
}

TEST_F(ComUnknownBaseTest, LogsItsRunTimeClassWhenTheLastReferenceGoes) {
    Object* const object = createObject<Object>(counter, destroyed).Detach();
    EXPECT_EQ(object->Release(), 0U);
    EXPECT_TRUE(destroyed);
    const auto record = log.find("Delete at Release. instance=class ");
    EXPECT_TRUE(record.message.ends_with("::Object"));
    EXPECT_EQ(record.severity, Log2::Severity::trace);
}

TEST_F(ComUnknownBaseTest, LastReleaseDestroysTheObjectWhenItsRecordFails) {
    class ThrowingSink final : public Log2::Sink {
    public:
        void flush() override {}
        void close() override {}
        void write(const Log2::Record&) override { throw std::bad_alloc(); }
        void setThreshold(Log2::Severity) override {}
    };
    const auto core = Log2::CoreImpl::create();
    core->addSink(boost::make_shared<ThrowingSink>());
    Log2::setCore(core);
    Object* const object = createObject<Object>(counter, destroyed).Detach();
    EXPECT_EQ(object->Release(), 0U);
    EXPECT_TRUE(destroyed);
    EXPECT_EQ(counter.count(), 0U);
}

TEST_F(ComUnknownBaseTest, LastReleaseDestroysTheObjectWhenThereIsNoLoggerForItsRecord) {
    Log2::setCore(boost::make_shared<JY::Test::FailingCore>());
    Object* const object = createObject<Object>(counter, destroyed).Detach();
    EXPECT_EQ(object->Release(), 0U);
    EXPECT_TRUE(destroyed);
    EXPECT_EQ(counter.count(), 0U);
}

TEST_F(ComUnknownBaseTest, TryAddRefRefusesAnObjectBeingDestroyed) {
    class Findable final : public ComUnknownBase<IUnknown> {
    public:
        Findable(ModuleUsageCounter& users, bool& refused) : ComUnknownBase(users), refused_(refused) {}
        ~Findable() override { refused_ = !tryAddRef(); }
        HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOTIMPL; }
        using ComUnknownBase::tryAddRef;

    private:
        bool& refused_;
    };
    bool refused = false;
    auto object = createObject<Findable>(counter, refused);
    EXPECT_TRUE(object->tryAddRef());
    EXPECT_EQ(object->Release(), 1U);
    EXPECT_FALSE(refused);
    object.Reset();
    EXPECT_TRUE(refused);
}

TEST_F(ComUnknownBaseTest, CountsReferencesExactlyUnderManyThreads) {
    const auto object = createObject<Object>(counter, destroyed);
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 8; ++i) {
            threads.emplace_back([&] {
                for (int round = 0; round < 1000; ++round) {
                    const ComPtr<Object> reference(object);
                }
            });
        }
    }
    EXPECT_EQ(object->AddRef(), 2U);
    object->Release();
}

TEST_F(ComUnknownBaseTest, HasTheInterfacesFunctionsAndThenItsDestructorInItsTable) {
    class Factory : public ComUnknownBase<IClassFactory> {
    public:
        virtual void firstOfItsOwn() = 0;
    };
    using Query = HRESULT STDMETHODCALLTYPE(REFIID, void**);
    EXPECT_EQ((slotOf<Query, IUnknown>(&Factory::QueryInterface)), 0U);
    EXPECT_EQ(slotOf(&Factory::AddRef), 1U);
    EXPECT_EQ(slotOf(&Factory::Release), 2U);
    EXPECT_EQ(slotOf(&Factory::CreateInstance), 3U);
    EXPECT_EQ(slotOf(&Factory::LockServer), 4U);
    EXPECT_EQ(slotOf(&Factory::firstOfItsOwn), 7U); // behind the destructor, which has two
}

TEST_F(ComUnknownBaseTest, AnswersAKnownInterfaceWithAReference) {
    const auto object = createObject<Object>(counter, destroyed);
    void* result = nullptr;
    EXPECT_EQ(object->QueryInterface(IID_IUnknown, &result), S_OK);
    EXPECT_EQ(result, object.Get());
    EXPECT_EQ(object->Release(), 1U);
    EXPECT_EQ(log.count(Log2::Severity::info, "QI(IUnknown)"), 1U);
}

TEST_F(ComUnknownBaseTest, RefusesAnInterfaceByName) {
    const auto object = createObject<Object>(counter, destroyed);
    void* result = object.Get();
    EXPECT_EQ(object->QueryInterface(IID_IClassFactory, &result), E_NOINTERFACE);
    EXPECT_EQ(result, nullptr);
    EXPECT_EQ(log.count(Log2::Severity::info, "QI-None(IClassFactory)"), 1U);
}

TEST_F(ComUnknownBaseTest, RefusesAnUnknownInterfaceByItsIdentifier) {
    const auto object = createObject<Object>(counter, destroyed);
    void* result = object.Get();
    EXPECT_EQ(object->QueryInterface(IID_IStream, &result), E_NOINTERFACE);
    EXPECT_EQ(result, nullptr);
    EXPECT_EQ(log.count(Log2::Severity::info, "QI-None(0000000c-0000-0000-c000-000000000046)"), 1U);
}

} // namespace
