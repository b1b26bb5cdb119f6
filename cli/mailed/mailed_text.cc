#include "cli/mailed/mailed_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "cli/base/controller_command.h"
#include "cli/mailed/dump_reader.h"
#include "cli/mailed/page_kind.h"
#include "recording/text/hex.h"

namespace cli::mailed {
namespace {

using recording::Bytes;
using recording::RecordedPage;

constexpr std::size_t kMostRemarks = 40;
constexpr std::size_t kMostDevices = 1024;

// A text has no control characters but those that lay it out.
bool isBinary(const std::string& text) {
    return std::any_of(text.begin(), text.end(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte < ' ' && byte != '\t' && byte != '\n' && byte != '\r' && byte != '\f' &&
               byte != 0x1B;
    });
}

const RecordedPage* stored(const recording::RecordedDevice& device, const FoundPage& page) {
    if (page.isStandard) {
        return device.standardInquiry ? &*device.standardInquiry : nullptr;
    }
    const auto known = device.pages.find(page.code);
    return known != device.pages.end() ? &known->second : nullptr;
}

}  // namespace

void MailedTexts::add(const std::string& text, const std::string& name) {
    if (isBinary(text)) {
        addBinary(text, name);
        return;
    }
    const Dumps dumps = findDumps(text, name);
    for (const std::string& left : dumps.remarks) {
        remark(left);
    }
    for (const Dump& dump : dumps.all) {
        if (dump.title.find(kControllerCommand) != std::string::npos) {
            addReply(dump.bytes, dump.device);
        } else {
            addPages(dump.bytes, dump.device, fmt::format("{}:{}", name, dump.line));
        }
    }
}

void MailedTexts::addBinary(const std::string& text, const std::string& name) {
    constexpr std::size_t kMost = 1U << 20;
    if (text.size() > kMost) {
        remark(fmt::format("{}: {} bytes of binary data, which is no page", name, text.size()));
        return;
    }
    addPages(Bytes(text.begin(), text.end()), std::string(), name);
}

void MailedTexts::addPages(const Bytes& bytes, const std::string& device,
                           const std::string& place) {
    FoundPages found = pagesIn(bytes);
    if (found.rest != 0) {
        remark(
            found.pages.empty()
                ? fmt::format("{}: {} bytes that are neither standard INQUIRY data nor a VPD page",
                              place, found.rest)
                : fmt::format("{}: {} bytes behind the page are left out", place, found.rest));
    }
    for (FoundPage& page : found.pages) {
        if (m_devices.size() >= kMostDevices) {
            remark(fmt::format("{}: more than {} devices, the pages from here on are left out",
                               place, kMostDevices));
            return;
        }
        MailedDevice* target = &deviceFor(device);
        const RecordedPage* const known = stored(target->device, page);
        if (known != nullptr && known->bytes != page.bytes) {
            m_devices.push_back({target->name, {}});
            target = &m_devices.back();
        }
        if (page.isStandard) {
            target->device.standardInquiry = RecordedPage(std::move(page.bytes));
        } else {
            target->device.pages[page.code] = RecordedPage(std::move(page.bytes));
        }
    }
}

void MailedTexts::addReply(const Bytes& bytes, const std::string& device) {
    if (m_devices.size() >= kMostDevices) {
        return;
    }
    Bytes command;
    std::size_t bad = 0;
    recording::fromHex(kControllerCommand, command, bad);
    deviceFor(device).device.sgIo[command] = RecordedPage(bytes);
}

void MailedTexts::remark(const std::string& text) {
    if (m_remarks.size() < kMostRemarks) {
        m_remarks.push_back(text);
    }
}

// The last device of that name; the last of all when the text names none.
MailedDevice& MailedTexts::deviceFor(const std::string& name) {
    const auto last = std::find_if(m_devices.rbegin(), m_devices.rend(), [&](const auto& device) {
        return name.empty() || device.name == name;
    });
    if (last != m_devices.rend()) {
        return *last;
    }
    m_devices.push_back({name, {}});
    return m_devices.back();
}

}  // namespace cli::mailed
