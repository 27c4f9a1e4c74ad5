#pragma once

#include "flv/FlvMetaData.h"
#include "log/Logger.h"
#include "util/Stream.h"

#include <cstdint>
#include <map>
#include <string>

namespace JY::Pictaro::Fs {

/// Holds the values of the script tags that were decoded, by the tags' names.
class FlvMetaDataImpl final : public FlvMetaData {
public:
    void parse(const std::wstring& path) override;
    /// What `parse` does with an open file, from its first byte on.
    void scan(Stream& stream, const Log2::Logger& log);
    MetaDatum getMetaDatum(const std::string& key) const override;
    KeyFrame getNearlestLessKeyFrame(TimePosition time) const override;

private:
    void parseScriptData(Stream& stream);
    const MetaEcmaArray& onMetaData(int missingLine, int typeLine) const;

    std::map<std::string, MetaDatum> scriptData_;
};

} // namespace JY::Pictaro::Fs
