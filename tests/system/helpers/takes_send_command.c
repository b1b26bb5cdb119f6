/* Asks a disk for its INQUIRY data by SCSI_IOCTL_SEND_COMMAND, and prints what the kernel makes of that: 0 where it takes
 * the ioctl, errno where it does not.
 *   takes_send_command NODE */
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/ioctl.h>
#include <unistd.h>

enum { SEND_COMMAND = 1, INQUIRY = 0x12, INQUIRY_BYTES = 96, DATA_BYTES = 512 };

int main(int count, char** words) {
    const int node = count == 2 ? open(words[1], O_RDWR | O_NONBLOCK) : -1;
    if (node < 0) {
        fprintf(stderr, "usage: %s NODE\n", words[0]);
        return 2;
    }
    struct {
        unsigned bytes_sent;
        unsigned bytes_received;
        unsigned char data[DATA_BYTES];
    } request = {0, INQUIRY_BYTES, {INQUIRY, 0, 0, 0, INQUIRY_BYTES, 0}};
    const int status = ioctl(node, SEND_COMMAND, &request);
    printf("%d\n", status < 0 ? errno : 0);
    close(node);
    return 0;
}
