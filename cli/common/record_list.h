#ifndef SCSITOOL_CLI_COMMON_RECORD_LIST_H
#define SCSITOOL_CLI_COMMON_RECORD_LIST_H

#include "scsi/record_list.h"

namespace cli {

using scsi::owned;
using scsi::RecordList;

}  // namespace cli

#endif
