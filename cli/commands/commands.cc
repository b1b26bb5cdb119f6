#include "cli/common/command.h"

namespace cli {

Command::~Command() = default;

CommandList makeCommands() {
    CommandList commands;
    commands.push_back(makeDevices());
    commands.push_back(makeVolumes());
    commands.push_back(makeFind());
    commands.push_back(makeDiff());
    commands.push_back(makeMatrix());
    commands.push_back(makeUdid());
    commands.push_back(makeValidate());
    commands.push_back(makeInquiry());
    commands.push_back(makeExplain());
    commands.push_back(makeDoctor());
    commands.push_back(makeDisks());
    commands.push_back(makeBus());
    commands.push_back(makeRescan());
    commands.push_back(makeRemove());
    commands.push_back(makeRemoveAddress());
    commands.push_back(makeRemoveDead());
    commands.push_back(makeRemoveStale());
    commands.push_back(makePrune());
    commands.push_back(makeFlushMultipath());
    commands.push_back(makeIscsi());
    commands.push_back(makeWwpn());
    commands.push_back(makeCapture());
    commands.push_back(makeReport());
    commands.push_back(makeUdevExport());
    commands.push_back(makeHelp());
    commands.push_back(makeComplete());
    return commands;
}

}  // namespace cli
