#include "flv/FlvMetaDataImpl.h"

#include "flv/Amf0Reader.h"
#include "flv/FlvHeader.h"
#include "flv/FlvTag.h"
#include "flv/NumberConversion.h"
#include "log/Core.h"
#include "util/File.h"
#include "util/JYFileStream.h"

#include <algorithm>
#include <utility>

namespace JY::Pictaro::Fs {

namespace {

constexpr SourceFile here{"FlvMetaData"};

using NotFound = FlvMetaData::MetaDataNotFoundException;

/// Script data comes before the media; a tag later than this means that there is none.
constexpr std::uint32_t lastScannedMilliseconds = 1000;
constexpr std::uint8_t stringMarker = 2;
constexpr double microsecondsPerSecond = 1000000.0;
constexpr std::size_t keyFramesObjectSize = 2;

/// The value of a member. Throws when there is none.
template <class Members>
const MetaDatum& memberOf(const Members& members, const std::string& key, int line, const char* missing) {
    const auto found = members.find(key);
    if (found == members.end()) {
        throw NotFound(here.at(line), missing);
    }
    return found->second;
}

/// The value as one of its kinds. Throws when it is of another.
template <class Kind>
const Kind& as(const MetaDatum& value, int line, const char* invalid) {
    const Kind* const kind = boost::get<Kind>(&value);
    if (kind == nullptr) {
        throw NotFound(here.at(line), invalid);
    }
    return *kind;
}

double numberOf(const MetaDatum& value, int line) {
    return static_cast<double>(as<long double>(value, line, "Invalid fileposition type."));
}

std::int64_t microsecondsOf(const MetaDatum& seconds, int line) {
    return truncateTo<std::int64_t>(numberOf(seconds, line) * microsecondsPerSecond);
}

/// The key-frame index as it stands in the file: two arrays of the same length, which is not 0.
struct KeyFrameIndex {
    const std::vector<MetaDatum>& filePositions;
    const std::vector<MetaDatum>& times;
};

KeyFrameIndex keyFrameIndexOf(const MetaEcmaArray& metaData) {
    const MetaDatum& value = memberOf(metaData.members, "keyframes", 133, "keyframes not found.");
    const auto& keyFrames = as<MetaObject>(value, 134, "Invalid keyFrames type.").members;
    if (keyFrames.size() != keyFramesObjectSize) {
        throw NotFound(here.at(137), "Invalid keyFrames object size.");
    }
    const MetaDatum& filePositionsValue = memberOf(keyFrames, "filepositions", 140, "filepositions not found.");
    const auto& filePositions = as<MetaStrictArray>(filePositionsValue, 141, "Invalid filepositions type.").elements;
    const MetaDatum& timesValue = memberOf(keyFrames, "times", 145, "times not found.");
    const auto& times = as<MetaStrictArray>(timesValue, 146, "Invalid times type.").elements;
    if (filePositions.size() != times.size()) {
        throw NotFound(here.at(149), "Size missmatch between filepositions and times.");
    }
    if (filePositions.empty()) {
        throw NotFound(here.at(150), "filepositions is empty.");
    }
    return {filePositions, times};
}

/// Where in the index the last key frame at or before `time` is; 0 when all are later.
std::size_t indexAtOrBefore(const std::vector<MetaDatum>& times, TimePosition time) {
    const auto isLater = [](std::int64_t microseconds, const MetaDatum& entry) {
        return microseconds < microsecondsOf(entry, 155);
    };
    const auto firstLater = std::upper_bound(times.begin(), times.end(), time.microseconds(), isLater);
    return firstLater == times.begin() ? 0 : static_cast<std::size_t>(firstLater - times.begin()) - 1;
}

/// Records a value of one of the kinds that can be asked for. Throws for the others.
void logValue(const Log2::Logger& log, const MetaDatum& value) {
    if (const auto* const text = boost::get<std::string>(&value)) {
        log.info(here()) << "value(string)=" << *text;
    } else if (const auto* const flag = boost::get<bool>(&value)) {
        log.info(here()) << "value(bool)=" << (*flag ? "true" : "false");
    } else if (const auto* const number = boost::get<long double>(&value)) {
        log.info(here()) << "value(long double)=" << Scientific{static_cast<double>(*number)};
    } else {
        throw NotFound(here.at(117), "Unsupported metaData type.");
    }
}

} // namespace

void FlvMetaDataImpl::parse(const std::wstring& path) {
    const auto log = Log2::traceMember(here(), typeid(*this), "parse");
    const File file(path, GENERIC_READ, FILE_SHARE_READ);
    FileStream stream(file.handle());
    scan(stream, log);
}

MetaDatum FlvMetaDataImpl::getMetaDatum(const std::string& key) const {
    const auto log = Log2::traceMember(here(), typeid(*this), "getMetaDatum");
    log.info(here()) << "key=" << key;
    const MetaDatum& value = memberOf(onMetaData(97, 98).members, key, 102, "Key not found.");
    logValue(log, value);
    return value;
}

KeyFrame FlvMetaDataImpl::getNearlestLessKeyFrame(TimePosition time) const {
    const auto log = Log2::traceMember(here(), typeid(*this), "getNearlestLessKeyFrame");
    log.info(here()) << "Search time position=" << time;
    const KeyFrameIndex keyFrames = keyFrameIndexOf(onMetaData(128, 129));
    const std::size_t index = indexAtOrBefore(keyFrames.times, time);
    const KeyFrame result{TimePosition(microsecondsOf(keyFrames.times[index], 160)),
                          truncateTo<std::uint64_t>(numberOf(keyFrames.filePositions[index], 160))};
    log.info(here()) << "time=" << result.time << " seekPosition=" << result.filePosition;
    return result;
}

/// Ends with the first script tag decoded, or at the first media tag that is too late to have one behind it. The end
/// of the file does not end it: the last tag is then read again.
void FlvMetaDataImpl::scan(Stream& stream, const Log2::Logger& log) {
    skipFlvHeader(stream);
    FlvTag tag(stream);
    do {
        tag.read();
        switch (tag.getTagType()) {
        case TagType::audio:
        case TagType::video:
            if (tag.getTimestamp() > lastScannedMilliseconds) {
                log.warn(here()) << "Scan for metaData was aborted.";
                return;
            }
            break;
        case TagType::scriptData:
            stream.setLimit(tag.getDataSize());
            parseScriptData(stream);
            stream.clearLimit();
            break;
        default:
            throw ErrorException(here.at(85), "Unknown tag type.") << tag.getTagType();
        }
        tag.next();
    } while (scriptData_.empty());
}

void FlvMetaDataImpl::parseScriptData(Stream& stream) {
    const auto log = Log2::traceMember(here(), typeid(*this), "parseScriptData");
    std::uint8_t marker = 0;
    if (stream.read(&marker, 1) != 1 || marker != stringMarker) {
        throw ErrorException(here(), "Script parse error.");
    }
    Amf0Reader reader(stream, log);
    std::string name = reader.readString();
    MetaDatum value = reader.readValue();
    const auto [place, isNew] = scriptData_.emplace(std::move(name), std::move(value));
    if (!isNew) {
        log.warn(here()) << "Duplicate key=" << place->first;
    }
}

const MetaEcmaArray& FlvMetaDataImpl::onMetaData(int missingLine, int typeLine) const {
    const MetaDatum& value = memberOf(scriptData_, "onMetaData", missingLine, "No onMetaData.");
    return as<MetaEcmaArray>(value, typeLine, "Invalid metaDatas type.");
}

} // namespace JY::Pictaro::Fs
