#ifndef SCSITOOL_TESTS_FAULTS_ARGUMENTS_H
#define SCSITOOL_TESTS_FAULTS_ARGUMENTS_H

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <optional>
#include <string>

namespace faults {

/// What a matrix is told: "[--all | --faults N] FOLDER".
struct Arguments {
    std::size_t most = 0;  ///< so many faults are tried; 0 for all
    std::string folder;    ///< of the samples
};

/// None where the command line is another one, and then it was said how it is used.
inline std::optional<Arguments> readArguments(int argc, char** argv, const char* program,
                                              std::size_t most) {
    Arguments arguments = {most, ""};
    int at = 1;
    if (argc > at && std::strcmp(argv[at], "--all") == 0) {
        arguments.most = 0;
        ++at;
    } else if (argc > at + 1 && std::strcmp(argv[at], "--faults") == 0) {
        arguments.most = std::strtoul(argv[at + 1], nullptr, 10);
        at += 2;
    }
    if (argc != at + 1) {
        std::cerr << "usage: " << program << " [--all | --faults N] FOLDER\n";
        return std::nullopt;
    }
    arguments.folder = argv[at];
    return arguments;
}

}  // namespace faults

#endif
