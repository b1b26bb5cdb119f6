// The words of the command line, one a line.
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "cli_harness.h"
#include "hosts_command.h"

namespace {

using Words = std::vector<std::string>;

// The words may have files written. They work in a folder of their own, and what leads out of it is
// taken for the name of a device at most.
class Folder {
  public:
    Folder() {
        std::filesystem::current_path(m_folder.path(""));
        clear();
    }
    void clear() const {
        for (const auto& entry : std::filesystem::directory_iterator(m_folder.path(""))) {
            std::filesystem::remove_all(entry.path());
        }
        m_folder.write("host.json",
                       R"({"format":"scsitool-host/1","devices":{"/dev/sda":{"id_lun":"0x1"}}})");
        m_folder.write("pages.txt", "00 83 00 08 01 03 00 04 50 00 c5 00\n");
    }

  private:
    test::TempFolder m_folder;
};

bool writesNothing(const Words& words) {
    static const Words known = {
        "--json", "--dry-run", "--paths", "--short", "--hex",    "--taq",   "--force", "--lun0",
        "--help", "--version", "--host",  "--inhex", "--rescan", "--trace", "--jobs",  "--deadline",
        "--page", "--changes", "-h",      "-o",      "--sort",   "--filter"};
    return std::all_of(words.begin(), words.end(), [](const std::string& word) {
        return word.empty() ||
               (word[0] != '-' ? word != "capture" && word != "report"
                               : std::find(known.begin(), known.end(), word) != known.end());
    });
}

Words wordsOf(const std::string& text) {
    Words words;
    std::size_t from = 0;
    while (from < text.size() && words.size() < 64) {
        const std::size_t end = std::min(text.find('\n', from), text.size());
        words.push_back(text.substr(from, end - from));
        from = end + 1;
    }
    return words;
}

void keepInside(Words& words) {
    const bool isHarmless = writesNothing(words);
    for (std::string& word : words) {
        if (!isHarmless || word.find("/dev/sd") != 0) {
            std::replace(word.begin(), word.end(), '/', '_');
        }
    }
}

// Standard input is no part of this, and neither is waiting.
bool isLeftOut(const std::string& word) {
    return word == "-" || word.find("--wait") == 0 || word.find("=-") != std::string::npos;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Folder folder;
    Words words = wordsOf(std::string(reinterpret_cast<const char*>(data), size));
    if (std::any_of(words.begin(), words.end(), isLeftOut)) {
        return -1;
    }
    keepInside(words);
    words.insert(words.begin(), {"--jobs", "1", "--deadline", "0"});
    test::CliMachine machine(test::smallHost());
    fuzz::runHeld(words, machine.host());
    folder.clear();
    return 0;
}
