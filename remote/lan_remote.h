#pragma once

/// Remote state as the LAN transports set it. Any thread, without locks; the main loop shows it.
namespace remote {

/// The instrument goes under remote control, or back to its panel without a preset.
void Go_Remote();
void Go_Local();

/// One client's bar of the panel's way back: as long as any stands, the preset key doesn't leave remote control.
class Local_Lockout {
public:
    Local_Lockout() = default;
    ~Local_Lockout() { Set(false); }
    Local_Lockout(const Local_Lockout&) = delete;
    Local_Lockout& operator=(const Local_Lockout&) = delete;

    void Set(bool on);

private:
    bool on_ = false;
};

}  // namespace remote
