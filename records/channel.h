#pragma once

/// Channels of the measurements that step from one to the next, Hz.
struct Channel_Record {
    double acpr_spacing = 5e6;
    double occupied_spacing = 5e6;
    double cnr_spacing = 6e6;
    double cso_spacing = 6e6;
    double ctb_spacing = 6e6;
    double occupied_bandwidth = 2e6;  ///< main channel of the occupied bandwidth
};
inline Channel_Record Channel_Data;
