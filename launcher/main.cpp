#include <cstdio>
#include <exception>
#include <sys/stat.h>

#include "launcher/instrument.h"
#include "launcher/options.h"

int main(int argc, char** argv) {
    ::umask(077);
    try {
        return launcher::Run_Instrument(launcher::Read_Options(argc, argv));
    } catch (const launcher::Usage& usage) {
        std::fprintf(usage.status == 0 ? stdout : stderr, usage.status == 0 ? "%s" : "kva720-run: %s\n",
                     usage.text.c_str());
        return usage.status;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 2;
    }
}
