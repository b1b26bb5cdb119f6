#ifndef SCSITOOL_HOST_HOST_H
#define SCSITOOL_HOST_HOST_H

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "scsitool/host/export.h"

/// The seam to the operating system: everything that the library asks of a host stands here, so
/// that a recorded host can answer in place of the machine.
namespace host {

/// How a device node is opened.
enum class OpenMode {
    kReadWriteNonBlocking,  ///< O_RDWR | O_NONBLOCK
    kReadOnly,              ///< O_RDONLY
    kReadOnlyNonBlocking,   ///< O_RDONLY | O_NONBLOCK
    /// O_RDONLY | O_NONBLOCK | O_EXCL: the kernel's word on whether a block device is in use. EBUSY
    /// when somebody claims it or one of its partitions (a file system, swap, md, device-mapper,
    /// another exclusive open); until it is closed nobody else can claim it or a partition of it,
    /// this process included. It says nothing of who merely opened the device.
    kReadOnlyExclusive,
};

/// What a path is a node of. Two nodes of one kind and number are the same device, whatever they
/// are called.
struct DeviceNumber {
    enum class Kind {
        kNone,       ///< no device node: a file, a directory, a FIFO, a socket
        kBlock,      ///< a block device (disk, partition, map)
        kCharacter,  ///< a character device (sg, tape, control nodes)
    };
    Kind kind = Kind::kNone;
    unsigned major = 0;  ///< 0 for no device node
    unsigned minor = 0;  ///< 0 for no device node
};

inline bool operator==(const DeviceNumber& left, const DeviceNumber& right) {
    return left.kind == right.kind && left.major == right.major && left.minor == right.minor;
}
inline bool operator!=(const DeviceNumber& left, const DeviceNumber& right) {
    return !(left == right);
}

/// The buffer of SCSI_IOCTL_SEND_COMMAND: bytes 0-3 input length, 4-7 output length (host byte
/// order), the command descriptor block from byte 8; on return the response from byte 8.
using CommandBuffer = std::array<std::uint8_t, 512>;

/// The two words of SCSI_IOCTL_GET_IDLUN.
struct AddressWords {
    std::uint32_t device = 0;  ///< bits 0-7 target, 8-15 LUN, 16-23 channel, 24-31 host adapter
    std::uint32_t hostUnique = 0;
};

/// One SG_IO request with data coming from the device.
struct SgIoRequest {
    std::vector<std::uint8_t> cdb;    ///< the command descriptor block, 1 to 16 bytes
    std::vector<std::uint8_t> data;   ///< sized by the caller; filled from its start, the rest 0
    std::vector<std::uint8_t> sense;  ///< sized by the caller, at most 255 bytes
    unsigned timeout = 0;             ///< handed to the interface as it is (milliseconds)
    std::uint8_t status = 0;          ///< on return: the SCSI status byte
    /// On return: the host byte, what the adapter's driver made of the request (0 DID_OK, 1
    /// DID_NO_CONNECT ...). With another value than 0 the request did not reach the device.
    std::uint16_t hostStatus = 0;
};

/// What reading a file came to. A file that opens and then refuses a read has only `readError`, and
/// what was read until then stands in `content`: the lines in it count, the file did open.
struct ReadResult {
    int openError = 0;  ///< errno of the open, 0 when it opened
    int readError = 0;  ///< errno of the read that ended it early, else 0
    std::string content;

    /// The errno that stands against having the whole file; 0 when it is all there.
    int error() const { return openError != 0 ? openError : readError; }
};

/// What an append calls once the file is open and nothing is written yet. A trace line that names
/// the effect stands before it then: a kernel that hangs in the write leaves the line. Empty when
/// there is nothing to call; must not throw.
using BeforeWrite = std::function<void()>;

/// What an append to a file came to. A file that opens and then refuses the text has only
/// `writeError`: the callers that talk to the kernel's SCSI table look at the open alone.
struct AppendResult {
    int openError = 0;   ///< errno of the open, 0 when it opened
    int writeError = 0;  ///< errno of the write or the close, 0 when all was taken
};

/// A directory's entries in the operating system's order, "." and ".." included.
struct DirectoryListing {
    int openError = 0;  ///< errno of the open, 0 when it opened
    int readError = 0;  ///< errno of the read that ended the listing early, else 0
    std::vector<std::string> names;
};

/// How a command ended and what it printed.
struct CommandResult {
    std::vector<std::string> lines;  ///< standard output and standard error, one string a line
    int waitStatus = 0;              ///< as waitpid hands it over; 127 << 8 for a missing program
    bool timedOut = false;           ///< the time limit ended it; the wait status is then signal 9
};

/// One operation on semaphore 0 of a System V set, see semop(2).
struct SemaphoreOperation {
    short operation = 0;  ///< 0 waits until the value is zero, otherwise the value is changed
    bool undo = false;    ///< SEM_UNDO
    bool noWait = false;  ///< IPC_NOWAIT
};

/// Everything that is asked of the operating system.
///
/// Results: an operation that returns int gives 0 or a positive value for success and a negated
/// errno for failure, unless it says otherwise. No operation throws but for memory exhaustion. A
/// path that holds a NUL names nothing and is refused.
/// Threads: an implementation may be called from several threads at once unless it says otherwise.
class SCSITOOL_EXPORT Host {
  public:
    Host();
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;
    virtual ~Host();

    /// A number that no other Host object of this process ever had, never 0. What a host handed out
    /// (a descriptor, a semaphore identifier) is kept under it and never taken to another host.
    std::uint32_t instance() const noexcept { return m_instance; }

    /// Opens a device node and gives its descriptor, or a negated errno.
    virtual int openDevice(const std::string& path, OpenMode mode) = 0;
    /// Closes a descriptor that `openDevice` of this host gave.
    virtual int closeDevice(int descriptor) = 0;
    /// Sends SCSI_IOCTL_SEND_COMMAND. Gives 0, a positive SCSI status (the response then holds
    /// sense data) or a negated errno. The bytes from 8 to 8 + output length are overwritten: the
    /// response and zeros behind it. An output length that the buffer cannot hold is EINVAL.
    virtual int sendCommand(int descriptor, CommandBuffer& buffer) = 0;
    /// Asks for the address of the device (SCSI_IOCTL_GET_IDLUN).
    virtual int addressWords(int descriptor, AddressWords& words) = 0;
    /// Sends an SG_IO request, data direction from the device. A request that the device ended
    /// with another status than GOOD still gives 0; `status` tells. A request beyond the sizes of
    /// SgIoRequest, or with more than 16 MiB of data, is EINVAL.
    virtual int sgIo(int descriptor, SgIoRequest& request) = 0;
    /// Asks for the size of a block device in bytes (BLKGETSIZE64).
    virtual int deviceSize(int descriptor, std::uint64_t& bytes) = 0;

    /// Reads a file whole; the read that goes beyond 64 MiB fails with EFBIG. A directory does not
    /// open (EISDIR), and neither does whatever else is no file, a FIFO or a device node (EINVAL).
    virtual ReadResult readFile(const std::string& path) = 0;
    /// Appends text to a file that exists, with one write. An effect on the host. What is no file
    /// does not open, as in `readFile`. `beforeWrite` is called between the open and the write;
    /// of a file that does not open it hears nothing.
    virtual AppendResult appendFile(const std::string& path, const std::string& text,
                                    const BeforeWrite& beforeWrite = {}) = 0;
    /// Tells whether a path exists (links are followed).
    virtual bool pathExists(const std::string& path) = 0;
    /// Tells whether a path is a directory (links are followed).
    virtual bool isDirectory(const std::string& path) = 0;
    /// Lists a directory.
    virtual DirectoryListing listDirectory(const std::string& path) = 0;
    /// Reads where a symbolic link points to; EINVAL for a path that is no link.
    virtual int readLink(const std::string& path, std::string& target) = 0;
    /// Tells which device a path is a node of (stat(2), links are followed; nothing is opened).
    /// What is there and is no device node is success with `kNone`. On failure `number` is
    /// unchanged.
    virtual int deviceNumber(const std::string& path, DeviceNumber& number) = 0;
    /// Tells whether the process may write a path as it stands now, with the effective identifiers
    /// (links are followed): 0, or the negated errno that stands against it (EACCES, EPERM, EROFS,
    /// ENOENT, ...). Nothing is opened or written. It is a forecast: sysfs refuses to open an
    /// attribute without a write bit even for root, to whom this says 0.
    virtual int writeAccess(const std::string& path) = 0;

    /// Runs a command without a shell: it is split at blanks, single and double quotes group, and
    /// no other character means anything. At `timeoutSeconds` it is killed with its whole process
    /// group, and so it is when the asking process ends before it, however that ends, or the asking
    /// thread does. A program without a '/' is looked up in /sbin, /bin, /usr/sbin and /usr/bin;
    /// one that cannot be executed is missing. An effect on the host, unless the command is a read
    /// (isReadCommand()).
    virtual CommandResult runCommand(const std::string& command, int timeoutSeconds) = 0;
    /// Runs a line through /bin/sh, without a time limit, and gives its wait status as system(3)
    /// does; what it prints is dropped. An effect on the host.
    virtual int runShell(const std::string& line) = 0;

    /// Opens a System V semaphore set (semget): its identifier or a negated errno.
    virtual int openSemaphore(int key, int count, int flags) = 0;
    /// Executes operations atomically (semop) on a set that `openSemaphore` of this host opened.
    virtual int operateSemaphore(int identifier,
                                 const std::vector<SemaphoreOperation>& operations) = 0;
    /// Tells which process changed a set last (semctl GETPID): while its lock is taken, the one
    /// that holds it. 0 when that cannot be told, as of a process in another namespace.
    virtual int semaphoreUser(int identifier) = 0;

    /// The kernel release as uname(2) tells it; empty when it cannot be told.
    virtual std::string kernelRelease() = 0;
    /// The host's name as gethostname(2) tells it.
    virtual int hostName(std::string& name) = 0;
    /// Pauses the calling thread. An effect on the host.
    virtual void sleepSeconds(unsigned seconds) = 0;

  private:
    const std::uint32_t m_instance;
};

/// The host that this thread's calls go to: the Linux host, unless a Scope has put another in its
/// place.
SCSITOOL_EXPORT Host& current();

/// The host that has this number (`Host::instance`), null when it is gone. Safe for any number of
/// threads, as long as nobody destroys the host that another thread is given.
SCSITOOL_EXPORT Host* hostOf(std::uint32_t instance);

/// Puts a host in place for the calling thread and restores the former one at its end. Scopes of
/// one thread nest; a new thread starts with the Linux host. The host must outlive the scope.
class SCSITOOL_EXPORT Scope {
  public:
    explicit Scope(Host& host);
    ~Scope();
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

  private:
    Host* m_former;
};

/// Tells whether a command only reads (/bin/ls, /sbin/pidof, dmsetup's status and table, powermt's
/// display), so that a dry run may carry it out.
SCSITOOL_EXPORT bool isReadCommand(const std::string& command);

}  // namespace host

#endif
