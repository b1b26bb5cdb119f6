"""What the guest's kernel says of its disks."""
import base64

from lab.guest import WAIT_SECONDS


def disks_by_address(guest):
    """Node of every SCSI disk by its address, such as {"0:0:0:3": "/dev/sda"}."""
    # The link of a disk leads through its address: .../target0:0:0/0:0:0:3/block/sda
    links = guest.run("find /sys/block -name 'sd*' -printf '%l\\n'").stdout.splitlines()
    return {parts[-3]: f"/dev/{parts[-1]}" for parts in (link.split("/") for link in links)}


def disks_by_lun(guest, host):
    """Node of every disk of one host adapter by its logical unit number."""
    return {int(address.split(":")[3]): node for address, node in disks_by_address(guest).items()
            if address.startswith(f"{host}:")}


def host_of_driver(guest, driver):
    """The number of the one host adapter that a driver serves."""
    return guest.run(f'for host in /sys/class/scsi_host/host*; do\n'
                     f'  [ "$(cat "$host/proc_name")" = {driver} ] && echo "${{host##*host}}"\n'
                     f'done; true').stdout.split()[0]


def wait_for_disks(guest, count, seconds=WAIT_SECONDS):
    """Waits until the kernel shows at least so many disks and has finished with each of them."""
    guest.wait_for(f"{count} disks", f'[ "$(grep -c " sd[a-z]*$" /proc/partitions)" -ge {count} ]', seconds)


def pages_by_sg_utils(guest, nodes, codes):
    """The pages that sg_inq and sg_vpd read: {node: {"std": bytes, "83": bytes}}."""
    listing = guest.run(
        f'for node in {" ".join(nodes)}; do\n'
        '  echo "$node std $(sg_inq --raw --len=252 "$node" | base64 -w0)"\n'
        f'  for code in {" ".join(codes)}; do\n'
        '    echo "$node $code $(sg_vpd --raw --page=0x$code "$node" 2>/dev/null | base64 -w0)"\n'
        '  done\ndone').stdout
    pages = {node: {} for node in nodes}
    for line in listing.splitlines():
        node, code, *content = line.split()
        if content:
            pages[node][code] = base64.b64decode(content[0])
    return pages
