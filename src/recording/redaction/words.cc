#include "recording/redaction/words.h"

#include <algorithm>
#include <array>
#include <unordered_set>

namespace recording {
namespace {

// Kernel names that a number or letters and a number follow.
constexpr std::array<std::string_view, 17> kNumbered = {
    "dm",  "loop", "sr",  "sg", "st",      "nst",    "md",   "nvme", "host",
    "ram", "zram", "nbd", "fd", "session", "target", "part", "tty"};
constexpr std::array<std::string_view, 6> kLettered = {"sd",  "vd",    "hd",
                                                       "xvd", "mpath", "emcpower"};

const std::unordered_set<std::string_view>& commonWords() {
    static const std::unordered_set<std::string_view> kWords = {
        // The file system hierarchy, and what Linux hosts mount and name by themselves.
        "bin", "boot", "cgroup", "dev", "efi", "etc", "home", "hugepages", "lib", "lib64", "lost",
        "media", "mnt", "mqueue", "none", "opt", "overlay", "proc", "pts", "root", "run", "rootfs",
        "sbin", "shm", "snap", "srv", "swap", "swapfile", "sys", "tmp", "tmpfs", "usr", "user",
        "var", "www", "log", "data", "local", "locks",
        // File systems and their options.
        "ext2", "ext3", "ext4", "xfs", "btrfs", "vfat", "ntfs", "iso9660", "squashfs", "relatime",
        "noatime", "defaults", "errors", "remount", "rw", "ro", "file", "partition", "filename",
        "type", "size", "used", "priority",
        // sysfs, procfs and udev.
        "block", "bus", "class", "config", "control", "default", "delete", "device", "devices",
        "disk", "enabled", "holders", "kernel", "link", "live", "localhost", "mapper", "module",
        "name", "offline", "partitions", "path", "pci", "platform", "port", "power", "queue",
        "running", "scan", "scsi", "slaves", "state", "subsystem", "uevent", "uuid", "virtual",
        "wwid", "ata", "usb", "iscsi", "sas", "fcp", "iblock", "fileio", "pscsi", "lun", "by", "id",
        "null", "multipath", "multipathd", "iscsiadm", "error", "failed", "output", "command",
        "session", "com", "org", "net", "edu", "local", "example", "localdomain", "linux"};
    return kWords;
}

bool startsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

bool areLetters(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= 'a' && c <= 'z'; });
}

// Without a partition's number: "sda1", "nvme0n1p2", "mpathap1".
std::string_view withoutNumber(std::string_view word) {
    while (!word.empty() && isDigit(word.back())) {
        word.remove_suffix(1);
    }
    return word;
}

bool isKernelName(std::string_view word) {
    const std::string_view stem = withoutNumber(word);
    if (std::find(kNumbered.begin(), kNumbered.end(), stem) != kNumbered.end()) {
        return true;
    }
    return std::any_of(kLettered.begin(), kLettered.end(), [stem](std::string_view start) {
        constexpr std::size_t kMostLetters = 4;  // "sdaaaa" and a partition's "p"
        return startsWith(stem, start) && stem.size() <= start.size() + kMostLetters &&
               areLetters(stem.substr(start.size()));
    });
}

}  // namespace

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isAlphanumeric(char c) {
    return isDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isHexDigit(char c) {
    return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

bool isHex(std::string_view text) {
    return std::all_of(text.begin(), text.end(), isHexDigit);
}

bool hasDigit(std::string_view text) {
    return std::any_of(text.begin(), text.end(), isDigit);
}

std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return text;
}

std::string upperCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char c) {
        return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    });
    return text;
}

std::vector<std::string> wordsOf(std::string_view text) {
    std::vector<std::string> words;
    std::size_t begin = 0;
    while (begin < text.size()) {
        std::size_t end = begin;
        while (end < text.size() && isAlphanumeric(text[end])) {
            ++end;
        }
        if (end > begin) {
            words.emplace_back(text.substr(begin, end - begin));
        }
        begin = end + 1;
    }
    return words;
}

bool isCommonWord(std::string_view word) {
    const std::string lower = lowerCase(std::string(word));
    return commonWords().count(lower) != 0 || isKernelName(lower);
}

}  // namespace recording
