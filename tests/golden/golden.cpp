// The golden run: results of every part of the library, folded into one digest a family, against
// the digests that are checked in. Equal on every platform, or it fails.
//
//     golden             compares with tests/golden/digests.txt
//     golden --write     renews that file, on purpose

#include "golden/families.h"

#include <cstdio>
#include <fstream>
#include <set>
#include <string>

int main(int argc, char **argv)
{
    const char path[] = VESK_SOURCE_DIR "/tests/golden/digests.txt";
    std::set<std::string> expected;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);)
        expected.insert(line);
    file.close();

    const bool renews = argc == 2 && std::string(argv[1]) == "--write";
    std::ofstream renewed;
    if (renews)
        renewed.open(path);
    int different = 0;
    for (const auto &families : {kit_families(), mesh_families()})
        for (const family &f : families)
        {
            digest out;
            f.fold(out);
            char line[64];
            std::snprintf(line, sizeof(line), "%-18s %016llx", f.name,
                          static_cast<unsigned long long>(out.value()));
            const bool is_equal = expected.count(line) == 1;
            different += !is_equal;
            std::printf("%s%s\n", line, renews || is_equal ? "" : "  differs");
            renewed << line << '\n';
        }
    if (renews)
        return renewed.flush() ? 0 : 2;
    return different ? 1 : 0;
}
