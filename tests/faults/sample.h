#ifndef SCSITOOL_TESTS_FAULTS_SAMPLE_H
#define SCSITOOL_TESTS_FAULTS_SAMPLE_H

#include <memory>
#include <string>
#include <vector>

#include "recording/replay/recorded_tree.h"

namespace faults {

/// A recorded host, and a disk of it that answers.
struct Sample {
    std::string name;
    std::string disk;
    std::shared_ptr<const recording::RecordedTree> tree;
};

/// The samples in a folder, by name.
std::vector<Sample> samplesIn(const std::string& folder);

}  // namespace faults

#endif
