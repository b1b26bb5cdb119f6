#ifndef SCSITOOL_UDID_IDENTITY_H
#define SCSITOOL_UDID_IDENTITY_H

#include <cstddef>
#include <map>
#include <string>

#include "scsitool/host/export.h"
#include "scsitool/scsi/device_scsi_data.h"
#include "scsitool/udid/reporter.h"

/// What the text of a UDID says: which part of it is the array's number, which the volume's. A
/// generator tells it while it builds.
namespace udid {

/// What a part of a UDID says of the volume.
enum class Fact {
    kArraySerial,  ///< the array's own number or name
    kVolumeId,     ///< the volume's number or name
};

/// A reporter that is also told of records, of facts and of the bytes that decided something. Its
/// operations throw nothing but std::bad_alloc. A class of its own, so that a reporter that was
/// built without them goes on working.
class SCSITOOL_EXPORT IdentityReporter : public Reporter {
  public:
    ~IdentityReporter() override;

    /// The factory begins with the UDID of a record.
    virtual void began(const CScsiDeviceData& record) = 0;
    /// The body that is being built holds a fact, in this text.
    virtual void told(Fact fact, const std::string& text) = 0;
    /// These bytes of a page decided how others are read.
    virtual void decided(unsigned page, std::size_t offset, std::size_t length) = 0;
};

/// Who listens on the calling thread, when that one is told of such things; else null.
SCSITOOL_EXPORT IdentityReporter* identityReporter();

/// What a UDID says. A text is empty where the UDID does not say it.
struct Identity {
    std::string generator;    ///< name of the generator whose pieces stand in the UDID
    std::string arraySerial;  ///< as the generator wrote it, before the UDID's upper case
    std::string volumeId;     ///< the same
};

/// Keeps what the UDIDs say that the factory makes while this listens: no device is asked a second
/// time for it. For one thread, as every reporter.
class SCSITOOL_EXPORT IdentityCollector : public IdentityReporter {
  public:
    IdentityCollector();
    ~IdentityCollector() override;

    /// What the UDID of the device of that name says; null when none was asked for. The next UDID
    /// of that device changes it.
    const Identity* of(const std::string& deviceName) const;

    void began(const CScsiDeviceData& record) override;
    void told(Fact fact, const std::string& text) override;
    void decided(unsigned page, std::size_t offset, std::size_t length) override;
    void stepped(Step step, const std::string& text) override;
    void compared(const Comparison& comparison) override;
    void readPage(unsigned page, const scsi::PageView& view) override;
    void found(const std::string& field, const Piece& piece) override;
    void added(const Piece& piece) override;
    void addedField(const std::string& field, const std::string& text) override;
    void cleared() override;
    void remarked(const std::string& text) override;

  private:
    void forgetFacts();

    std::map<std::string, Identity> m_identities;  // by device name
    Identity* m_current = nullptr;                 // of the record in hand
    std::string m_asked;                           // the generator in hand
};

/// The name of a generator's array family as people have it ("EMC CLARiiON" for "DGC:"); the
/// generator's name itself when it is none of the library's.
SCSITOOL_EXPORT std::string familyName(const std::string& generator);

}  // namespace udid

#endif
