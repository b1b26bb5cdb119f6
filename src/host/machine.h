#ifndef SCSITOOL_HOST_MACHINE_H
#define SCSITOOL_HOST_MACHINE_H

#include <string>
#include <vector>

#include "scsitool/host/host.h"

/// The system calls behind the Linux host's operations: each does what the operation of its name in
/// `Host` says. Nothing here asks whether the machine may be touched.
namespace host::machine {

int openDevice(const std::string& path, OpenMode mode);
int closeDevice(int descriptor);
int sendCommand(int descriptor, CommandBuffer& buffer);
int addressWords(int descriptor, AddressWords& words);
int sgIo(int descriptor, SgIoRequest& request);
int deviceSize(int descriptor, std::uint64_t& bytes);
ReadResult readFile(const std::string& path);
/// What is left to read of a descriptor, at most as much as a file may have.
ReadResult readToTheEnd(int descriptor);
AppendResult appendFile(const std::string& path, const std::string& text,
                        const BeforeWrite& beforeWrite);
bool pathExists(const std::string& path);
bool isDirectory(const std::string& path);
DirectoryListing listDirectory(const std::string& path);
int readLink(const std::string& path, std::string& target);
int deviceNumber(const std::string& path, DeviceNumber& number);
int writeAccess(const std::string& path);
int openSemaphore(int key, int count, int flags);
int operateSemaphore(int identifier, const std::vector<SemaphoreOperation>& operations);
int semaphoreUser(int identifier);
std::string kernelRelease();
int hostName(std::string& name);
void sleepSeconds(unsigned seconds);

}  // namespace host::machine

#endif
