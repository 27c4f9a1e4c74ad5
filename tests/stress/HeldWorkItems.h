#pragma once

namespace JY::Test {

/// Keeps what the loaded module puts on Media Foundation's work queue from being queued until it goes. One at a time;
/// the module must stay loaded meanwhile.
class HeldWorkItems {
public:
    HeldWorkItems();
    HeldWorkItems(const HeldWorkItems&) = delete;
    HeldWorkItems& operator=(const HeldWorkItems&) = delete;
    ~HeldWorkItems();
};

} // namespace JY::Test
