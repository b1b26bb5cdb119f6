#include "cli/comparison/sources.h"

#include <cstring>
#include <memory>
#include <optional>
#include <utility>

#include "cli/base/failure.h"
#include "cli/base/lane.h"
#include "cli/common/asking.h"
#include "cli/comparison/handover.h"
#include "cli/comparison/saved.h"
#include "cli/output/utc_time.h"
#include "cli/picture/enumeration.h"
#include "recording/replay/recorded_host_file.h"
#include "scsitool/host/own_files.h"

namespace cli::comparison {
namespace {

std::string contentOf(const std::string& word) {
    host::ReadResult read = host::readInputFile(word);
    if (read.error() != 0) {
        throw UsageError(word + ": cannot be read: " + std::strerror(read.error()));
    }
    return std::move(read.content);
}

// A forked process has neither standard input nor the machine's disks to ask.
bool isFile(const std::string& word) {
    return word != "live" && word != "-";
}

std::vector<std::size_t> filesAmong(const std::vector<std::string>& words) {
    std::vector<std::size_t> places;
    for (std::size_t place = 0; place < words.size(); ++place) {
        if (isFile(words[place])) {
            places.push_back(place);
        }
    }
    return places;
}

}  // namespace

std::string hostNameOf(const Context& context) {
    std::string name;
    return context.hosts.aside().hostName(name) < 0 ? std::string() : name;
}

std::string timeOf(const Context& context) {
    return context.isLive() ? utcTime() : std::string();
}

std::vector<HostVolumes> Sources::read(const std::string& word) {
    if (word == "live") {
        return {enumerate(m_context, word)};
    }
    std::string text = contentOf(word);
    if (!isRecordedHost(text, word)) {
        return readSaved(text, word);
    }
    recording::RecordedHostData data = recording::parseRecordedHost(text, word);
    // Of several that are read at once none keeps what it does not need any more.
    std::string().swap(text);
    std::vector<HostVolumes> hosts;
    hosts.push_back(replay(std::move(data), word));
    return hosts;
}

// Two fill two processors, and two recordings at once are no burden. What a process traces would be
// lost.
std::size_t Sources::lanesFor(std::size_t files) const {
    constexpr std::size_t kLanes = 2;
    const bool isAlone = m_context.options.jobs < kLanes || m_context.options.traceLevel > 0;
    return isAlone || files < kLanes ? 0 : kLanes;
}

std::string Sources::readAside(const std::string& word) const {
    Sources aside(m_context);
    Reading reading;
    reading.hosts = aside.read(word);
    reading.doubts = aside.doubts();
    return packed(reading);
}

void Sources::readAll(const std::vector<std::string>& words, const Use& use) {
    const std::vector<std::size_t> files = filesAmong(words);
    const std::size_t count = lanesFor(files.size());
    std::vector<std::unique_ptr<Lane>> lanes;
    for (std::size_t lane = 0; lane < count; ++lane) {
        std::vector<std::size_t> items;
        for (std::size_t file = lane; file < files.size(); file += count) {
            items.push_back(files[file]);
        }
        lanes.push_back(std::make_unique<Lane>(
            std::move(items), [&](std::size_t item) { return readAside(words[item]); }));
    }
    std::size_t file = 0;
    for (const std::string& word : words) {
        std::optional<Reading> reading;
        if (!lanes.empty() && isFile(word)) {
            reading = unpacked(lanes[file++ % count]->take().value_or(""));
        }
        if (reading) {
            m_doubts.insert(m_doubts.end(), reading->doubts.begin(), reading->doubts.end());
        }
        // What could not be read there fails here, with the reason.
        for (const HostVolumes& host : reading ? std::move(reading->hosts) : read(word)) {
            use(host, word);
        }
    }
}

HostVolumes Sources::readOne(const std::string& word) {
    std::vector<HostVolumes> hosts = read(word);
    if (hosts.size() > 1) {
        throw UsageError(word + ": it tells of " + std::to_string(hosts.size()) +
                         " hosts or times, expected one");
    }
    return std::move(hosts.front());
}

HostVolumes Sources::enumerate(const Context& context, const std::string& word) {
    HostVolumes host;
    host.host = hostNameOf(context);
    host.time = timeOf(context);
    picture::Enumeration enumeration(context);
    askAhead(context, "", interviews::volume());
    enumeration.run(false, "", "");
    const picture::Picture picture = enumeration.pictureWithoutFields();
    std::vector<std::string> doubts = picture::doubtsOf(picture, enumeration.hint());
    host.volumes = volumesOf(picture, context.view(), doubts);
    for (const std::string& doubt : doubts) {
        m_doubts.push_back(std::string(word).append(": ").append(doubt));
    }
    return host;
}

HostVolumes Sources::replay(recording::RecordedHostData data, const std::string& word) {
    Options options;
    options.hostFile = word;
    options.deadline = m_context.options.deadline;
    // The host below is never asked: a recording stands in for it.
    HostStack hosts(options, m_context.host(), nullptr, {}, std::move(data));
    Context::TraceLog noTrace;
    const Context context = {options, m_context.layout, hosts, noTrace, m_context.isRoot};
    const host::Scope scope(hosts.top());
    return enumerate(context, word);
}

}  // namespace cli::comparison
