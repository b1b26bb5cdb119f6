#ifndef SCSITOOL_CLI_COMMON_ASKING_H
#define SCSITOOL_CLI_COMMON_ASKING_H

#include <string>

#include "cli/common/context.h"
#include "cli/common/factory_options.h"
#include "cli/output/report.h"
#include "recording/asking/answering_host.h"

namespace cli {

using Interview = recording::Asking::Interview;

/// What the operations of the library ask a disk, by these operations.
namespace interviews {

/// For its record: identity, address, pages.
Interview record();
/// For its UDID, with it its record.
Interview udid(const FactoryOptions& options = {});
/// For its size, and whether it opens.
Interview size();
/// For its UDID and its size.
Interview volume();

}  // namespace interviews

/// Has the disks asked side by side that an enumeration is going to ask, all or the one that it is
/// narrowed to, before it begins: who waits for the rescan lock is not to wait for a disk. After an
/// effect on the host they are asked again with the next enumeration, then `allAfterRescan` of them
/// if it is wanted. Nothing happens where disks are asked by the operation itself.
void askAhead(const Context& context, const std::string& onlyName, const Interview& interview,
              bool allAfterRescan = false);

/// The same for an operation that asks one device, whatever it is.
void askNamedAhead(const Context& context, const std::string& name, const Interview& interview);

/// The same for an operation that asks these devices.
void askTheseAhead(const Context& context, const recording::Asking::List& devices,
                   const Interview& interview);

/// The same for who writes down what devices say: those that do not answer in time give once more
/// what they have said by then.
void askForKeeps(const Context& context, const recording::Asking::List& devices,
                 const Interview& interview);

/// Why disks were asked one after the other all the same, in one line; empty when they were not.
std::string askedWithoutHelp(const HostStack& hosts);

/// Adds which disks did not answer to a report: a doubt, and the member "unanswered".
void addUnanswered(Report& report, const Context& context);

}  // namespace cli

#endif
