#pragma once
#include <string>

namespace launcher {

/// The instrument root in this launcher's hands: made if missing, locked, and cleared of what an instrument that was
/// killed has left. Throws std::runtime_error with one line when it can't be had.
class Root_Folder {
  public:
    explicit Root_Folder(const std::string& folder);
    Root_Folder(const Root_Folder&) = delete;
    Root_Folder& operator=(const Root_Folder&) = delete;
    /// Takes sockets, devices and the lock away.
    ~Root_Folder();

  private:
    void Clear_Devices() const;

    std::string folder_;
    int lock_ = -1;
};

}  // namespace launcher
