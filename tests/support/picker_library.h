// The picker libraries of the build (tests/pickers), for test phones that have one. PICKERS is their folder.
#pragma once

#include <fstream>
#include <iterator>
#include <string>

#include "doctest.h"

// The bytes of one; its name is tgetfile, gsgetfile or nopicker.
inline std::string pickerLibrary(const std::string &name)
{
    std::string path = PICKERS "/" + name + ".dll";
    if (path.front() == '/')
        path.insert(0, "Z:");   // where Wine has the files of its host
    std::ifstream stream(path, std::ios::binary);
    REQUIRE_MESSAGE(stream.good(), "missing: " << path);
    return {std::istreambuf_iterator<char>(stream), {}};
}
