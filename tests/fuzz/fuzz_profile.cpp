// Board profiles are user input: any file must load or be refused with the simulator's error,
// and a refused one must leave a board that the next profile can be loaded into.
#include <unistd.h>

#include <fstream>

#include "core/core.h"
#include "fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const std::string path = bspfuzz::board().dir() + "/fuzz-profile.ini";
    std::ofstream(path, std::ios::binary | std::ios::trunc).write(reinterpret_cast<const char *>(data), static_cast<std::streamsize>(size));
    bspsim::detail::Lock lock;
    try {
        bspsim::detail::load_board(path);
    } catch (const bspsim::Error &) {
    }
    return 0;
}
