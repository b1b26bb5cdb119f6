#include "scsitool/udid/udid_generator_exception.h"

#include <utility>

CUdidGeneratorException::CUdidGeneratorException(std::string messageId, std::string vendor,
                                                 std::string product)
    : m_messageId(std::move(messageId)),
      m_vendor(std::move(vendor)),
      m_product(std::move(product)) {}

CUdidGeneratorException::CUdidGeneratorException(const CUdidGeneratorException& other) = default;
CUdidGeneratorException& CUdidGeneratorException::operator=(const CUdidGeneratorException& other) =
    default;
CUdidGeneratorException::~CUdidGeneratorException() = default;

std::string CUdidGeneratorException::getMessageId() const {
    std::string text = m_messageId;
    text += ':';
    text += m_vendor;
    text += ':';
    text += m_product;
    return text;
}
