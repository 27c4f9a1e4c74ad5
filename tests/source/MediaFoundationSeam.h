#pragma once

#include <mfobjects.h>
#include <windows.h>

#include <string>
#include <vector>

/// Stands between the code under test and Media Foundation: the calls go on to Media Foundation, unless a test lets one
/// fail, and the events that pass through event queues are kept.
namespace JY::Test {

enum class MediaFoundationCall {
    putWorkItem,
    createAsyncResult,
    invokeCallback,
    createEventQueue,
    createMediaEvent,
    createPresentationDescriptor,
    // Methods of the objects that the calls above give.
    setEventAttribute,      ///< IMFMediaEvent::SetUINT64
    setDescriptorAttribute, ///< IMFPresentationDescriptor::SetUINT64
    selectStream,           ///< IMFPresentationDescriptor::SelectStream
    cloneDescriptor,        ///< IMFPresentationDescriptor::Clone
    count
};

/// Lets a call fail for as long as the object lives, the first `after` times excepted.
class MediaFoundationFault {
public:
    MediaFoundationFault(MediaFoundationCall call, HRESULT result, unsigned after = 0);
    MediaFoundationFault(const MediaFoundationFault&) = delete;
    MediaFoundationFault& operator=(const MediaFoundationFault&) = delete;
    ~MediaFoundationFault();

    /// In place of a result: the call reads from a bad address.
    static constexpr HRESULT accessViolation = static_cast<HRESULT>(0xC0000005);

private:
    MediaFoundationCall call_;
};

/// Keeps work items from being queued until it goes.
class WorkItemHold {
public:
    WorkItemHold();
    WorkItemHold(const WorkItemHold&) = delete;
    WorkItemHold& operator=(const WorkItemHold&) = delete;
    ~WorkItemHold();
};

/// The queues that work items have been given to since the last call, in order, whether or not they were taken. Any
/// thread.
std::vector<DWORD> takeWorkQueues();

/// Keeps the events that are sent while it lives through the event queues made while it lives, in order over all
/// queues. The queues are called by the names given, in the order in which they are made. Any thread.
class EventLog {
public:
    explicit EventLog(std::vector<std::string> queueNames = {"source", "audio", "video"});
    EventLog(const EventLog&) = delete;
    EventLog& operator=(const EventLog&) = delete;
    ~EventLog();

    /// What has been sent since the last call, each as queue, event and value: "audio MEStreamStarted 10000" (a time),
    /// "source MENewStream 1001" (a stream), "source MESourceStarted actual=0" (the attribute).
    std::vector<std::string> take();
    /// The next event of this type on this queue is refused with `result`.
    void refuse(const std::string& queueName, MediaEventType type, HRESULT result);
};

} // namespace JY::Test
