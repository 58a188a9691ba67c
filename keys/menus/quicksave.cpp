#include <cerrno>
#include <cstdio>
#include <string>

#include "files/screen_image.h"
#include "keys/handlers.h"
#include "keys/notice.h"
#include "keys/words.h"

/// A picture of the screen; the page stays as it is.
void QuickSave_HwKey() {
    const std::string path = Next_Screen_Image();
    if (path.empty() || !Save_Screen_Image(path)) {
        std::perror("quick save");
        return Show_Notice(errno == ENOSPC ? "The memory is full" : "The screen can't be saved");
    }
    Show_Notice(std::string(Translated("Saved as")) + ' ' + path.substr(path.rfind('/') + 1));
}
