#include "scsitool/udid/evidence.h"

#include <typeinfo>

namespace udid {

Evidence::~Evidence() = default;

ExplainedRecord::ExplainedRecord(const CScsiDeviceData& record, Evidence& evidence)
    : CScsiDeviceData(record), m_evidence(evidence) {}
ExplainedRecord::~ExplainedRecord() = default;

Evidence* evidenceOf(const CScsiDeviceData& record) {
    // The class is final and only this library makes one, so the address of its type decides:
    // generators ask often, and a dynamic cast costs many times as much.
    if (&typeid(record) != &typeid(ExplainedRecord)) {
        return nullptr;
    }
    return &static_cast<const ExplainedRecord&>(record).evidence();
}

}  // namespace udid
