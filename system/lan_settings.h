#pragma once

/// Network settings that outlast power and presets. All need Command_Main_Mutex, but Hislip_Port.

constexpr int standard_hislip_port = 4880;

/// The HiSLIP port that "/opt/KVA720/hislip_port" holds; the standard one where it holds none.
int Hislip_Port();
/// Stores the port, 1 to 65535; in force from the next start on. False, with error 434 in the queue, when it can't.
bool Set_Hislip_Port(int port);

/// HiSLIP port and web password as delivered; in force from the next start and at once. What can't be stored is told in
/// the error queue: 436, 435. False then.
bool Reset_Network();
