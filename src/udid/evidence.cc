#include "udid/evidence.h"

#include <typeinfo>

namespace udid {

Evidence::~Evidence() = default;

ExplainedRecord::ExplainedRecord(const CScsiDeviceData& record, Evidence& evidence)
    : CScsiDeviceData(record), m_evidence(evidence) {}
ExplainedRecord::~ExplainedRecord() = default;

Evidence* evidenceOf(const CScsiDeviceData& record) {
    // The class is final, so the exact type decides: cheaper than a dynamic cast, and generators
    // ask often.
    if (typeid(record) != typeid(ExplainedRecord)) {
        return nullptr;
    }
    return &static_cast<const ExplainedRecord&>(record).evidence();
}

}  // namespace udid
