#include "cli/comparison/sources.h"

#include <cstring>
#include <utility>

#include "cli/base/failure.h"
#include "cli/common/asking.h"
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
    const std::string text = contentOf(word);
    if (isRecordedHost(text, word)) {
        return {replay(text, word)};
    }
    return readSaved(text, word);
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
    const picture::Picture picture = enumeration.picture();
    host.volumes = volumesOf(picture);
    for (const std::string& doubt : picture::doubtsOf(picture, enumeration.hint())) {
        m_doubts.push_back(std::string(word).append(": ").append(doubt));
    }
    return host;
}

HostVolumes Sources::replay(const std::string& text, const std::string& word) {
    Options options;
    options.hostFile = word;
    options.deadline = m_context.options.deadline;
    // The host below is never asked: a recording stands in for it.
    HostStack hosts(options, m_context.host(), nullptr, {},
                    recording::parseRecordedHost(text, word));
    Context::TraceLog noTrace;
    const Context context = {options, m_context.layout, hosts, noTrace, m_context.isRoot};
    const host::Scope scope(hosts.top());
    return enumerate(context, word);
}

}  // namespace cli::comparison
