#pragma once

#include "Live/RouterSet.h"

/// What the targets hear with that read routes of routers.

/// Keeps what it is told.
class StationListener final : public Qcf::Live::LiveListener {
public:
    void note(Qcf::Live::Where const & where, String const & text) override;
    void peer(Qcf::Live::Where const & where, bool isUp, U8 reason) override;
    void sync(Qcf::Live::Where const & where, AddressFamily family, U64 routes) override;

    String said;
};

/// A station with a policy that looks at most of what routers send.
class FuzzedStation {
public:
    FuzzedStation();

    /// What it shows and was told.
    String shown();
    /// Each route is counted once, wherever it is counted.
    void requireWholeCounts();

private:
    Qcf::Live::LiveSettings settings_{.maxRoutes = 10'000};
    StationListener listener_;

public:
    Qcf::Live::RouterSet routers;
};

/// Reads the input as a recording that is watched.
void watchRecording(U8 const * data, std::size_t size);
