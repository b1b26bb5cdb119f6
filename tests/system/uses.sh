# What disks are put to. For every use there are two functions: begin_USE DISK puts the disk to it, end_USE DISK ends
# it again. Whatever else a use needs (the data part of a file system whose log is on the disk) lies in memory.
# shellcheck shell=bash disable=SC2317

# A file system that is small, for the disks of a test are slow, and that no thread of the kernel goes on filling.
make_file_system() {
  mke2fs -q -F -t ext4 -b 4096 -E nodiscard,lazy_itable_init=0,lazy_journal_init=0 "$@"
}

mount_at() {
  mkdir -p "$1" && mount -t ext4 "$2" "$1"
}

# A block device in memory: memory_disk NUMBER MEGABYTES.
memory_disk() {
  truncate -s "${2}M" "/run/memory$1" && losetup "/dev/loop$1" "/run/memory$1" && echo "/dev/loop$1"
}

drop_memory_disk() {
  losetup -d "/dev/loop$1" && rm "/run/memory$1"
}

# Runs a program in the background and keeps its number under a name.
keep_running() {
  local name=$1
  shift
  "$@" >/dev/null 2>&1 &
  echo $! >"/run/$name.pid"
}

end_running() {
  local process
  process=$(cat "/run/$1.pid") && kill "$process"
  eventually test ! -e "/proc/$process"
}

# Waits some seconds at most until a command succeeds.
eventually() {
  local tries
  for ((tries = 0; tries < 200; tries++)); do
    "$@" && return
    sleep 0.05
  done
  echo "waited in vain: $*" >&2
  return 1
}

open_for_writing() {
  exec sleep 100000 9<>"$1"
}

partition_of() {
  printf ',,S\n' | sfdisk -q "$1" >/dev/null
  eventually test -b "${1}1" && echo "${1}1"
}

generic_node_of() {
  echo /dev/"$(ls "/sys/block/${1#/dev/}/device/scsi_generic")"
}

work_in() {
  cd "$1" && exec sleep 100000
}

begin_mounted() { make_file_system "$1" 8M && mount_at /mnt/mounted "$1"; }
end_mounted() { umount /mnt/mounted; }

begin_namespace() {
  make_file_system "$1" 8M && mkdir -p /mnt/namespace || return
  keep_running namespace unshare -m sh -c "mount -t ext4 $1 /mnt/namespace; exec sleep 100000"
  eventually grep -q /mnt/namespace "/proc/$(cat /run/namespace.pid)/mountinfo"
}
end_namespace() { end_running namespace; }

# A namespace lives as long as its file is mounted somewhere: no process is in it, and /proc tells nothing of it.
begin_empty_namespace() {
  make_file_system "$1" 8M && mkdir -p /mnt/empty_namespace /run/spaces || return
  mount --bind /run/spaces /run/spaces && mount --make-private /run/spaces && touch /run/spaces/one || return
  unshare "--mount=/run/spaces/one" mount -t ext4 "$1" /mnt/empty_namespace
}
end_empty_namespace() { umount /run/spaces/one && umount /run/spaces; }

begin_lazily_unmounted() {
  make_file_system "$1" 8M && mount_at /mnt/lazily_unmounted "$1" || return
  keep_running lazily_unmounted work_in /mnt/lazily_unmounted
  eventually test "/proc/$(cat /run/lazily_unmounted.pid)/cwd" -ef /mnt/lazily_unmounted &&
    umount -l /mnt/lazily_unmounted
}
end_lazily_unmounted() { end_running lazily_unmounted; }

begin_ext4_journal() {
  local data
  data=$(memory_disk 1 16) && mke2fs -q -F -O journal_dev -b 4096 "$1" 8M || return
  mke2fs -q -F -t ext4 -b 4096 -J "device=$1" "$data" && mount_at /mnt/ext4_journal "$data"
}
end_ext4_journal() { umount /mnt/ext4_journal && drop_memory_disk 1; }

begin_xfs_log() {
  local data
  modprobe xfs && data=$(memory_disk 2 320) && mkdir -p /mnt/xfs_log || return
  mkfs.xfs -q -f -K -l "logdev=$1,size=64m" "$data" && mount -t xfs -o "logdev=$1" "$data" /mnt/xfs_log
}
end_xfs_log() { umount /mnt/xfs_log && drop_memory_disk 2; }

begin_swap_disk() { mkswap "$1" >/dev/null && swapon "$1"; }
end_swap_disk() { swapoff "$1"; }

begin_swap_partition() {
  local partition
  partition=$(partition_of "$1") && mkswap "$partition" >/dev/null && swapon "$partition"
}
end_swap_partition() { swapoff "${1}1"; }

begin_md() {
  modprobe raid1 || return
  mdadm --create /dev/md7 --quiet --run --force --level=1 --metadata=1.2 --raid-devices=1 "$1"
}
end_md() { mdadm --quiet --stop /dev/md7 && mdadm --quiet --zero-superblock "$1"; }

begin_lvm() {
  lvm pvcreate -qq "$1" && lvm vgcreate -qq use "$1" && lvm lvcreate -qq -y -Wn -Zn -L 16M -n data use &&
    make_file_system /dev/mapper/use-data 8M && mount_at /mnt/lvm /dev/mapper/use-data
}
end_lvm() { umount /mnt/lvm; }

begin_dm_crypt() {
  local key
  modprobe -a dm_crypt ecb xts aes_generic || return
  key=$(printf '0123456789abcdef%.0s' 1 2 3 4 5 6 7 8)
  dmsetup create secret --uuid CRYPT-PLAIN-secret \
    --table "0 $(blockdev --getsz "$1") crypt aes-xts-plain64 $key 0 $1 0" &&
    make_file_system /dev/mapper/secret 8M && mount_at /mnt/dm_crypt /dev/mapper/secret
}
end_dm_crypt() { umount /mnt/dm_crypt; }

begin_btrfs() {
  local first
  modprobe btrfs && first=$(memory_disk 3 128) && mkdir -p /mnt/btrfs || return
  mkfs.btrfs -q -f -K -M -d single -m single "$first" "$1" && mount -t btrfs -o "device=$1" "$first" /mnt/btrfs
}
end_btrfs() { umount /mnt/btrfs && drop_memory_disk 3; }

map_of() {
  local holder
  holder=$(ls "/sys/block/${1#/dev/}/holders") && echo "/dev/mapper/$(cat "/sys/block/$holder/dm/name")"
}

begin_multipath() {
  local map
  map=$(map_of "$1") && make_file_system "$map" 8M && mount_at /mnt/multipath "$map"
}
end_multipath() { umount /mnt/multipath; }

begin_loop_over_disk() { losetup /dev/loop4 "$1"; }
end_loop_over_disk() { losetup -d /dev/loop4; }

begin_loop_over_file() {
  make_file_system "$1" 8M && mount_at /mnt/loop_over_file "$1" || return
  truncate -s 1M /mnt/loop_over_file/image && losetup /dev/loop5 /mnt/loop_over_file/image &&
    umount -l /mnt/loop_over_file
}
end_loop_over_file() { losetup -d /dev/loop5; }

# export_as BACKSTORE NAME CONTROL: what `targetcli` writes.
target=/sys/kernel/config/target
export_as() {
  local lun=$target/iscsi/iqn.2026-01.lab.example:exported/tpgt_1/lun/lun_$2
  modprobe -a target_core_mod iscsi_target_mod "$3" || return
  [ -d $target ] || mount -t configfs configfs /sys/kernel/config
  mkdir -p $target/iscsi "$target/core/$1/use$2" && echo -n "$4" >"$target/core/$1/use$2/control" &&
    echo 1 >"$target/core/$1/use$2/enable" && mkdir -p "$lun" && ln -s "$target/core/$1/use$2" "$lun/use"
}
end_export() {
  local lun=$target/iscsi/iqn.2026-01.lab.example:exported/tpgt_1/lun/lun_$2
  rm "$lun/use" && rmdir "$lun" && rmdir "$target/core/$1/use$2"
}

begin_exported_block() { export_as iblock_0 1 target_core_iblock "udev_path=$1"; }
end_exported_block() { end_export iblock_0 1; }

begin_exported_file() {
  export_as fileio_0 2 target_core_file "fd_dev_name=$1,fd_dev_size=$(blockdev --getsize64 "$1")"
}
end_exported_file() { end_export fileio_0 2; }

begin_open_node() { keep_running open_node open_for_writing "$1"; }
end_open_node() { end_running open_node; }

begin_open_other_node() {
  local number
  number=$(cat "/sys/block/${1#/dev/}/dev") && mknod /run/other b "${number%:*}" "${number#*:}" || return
  keep_running open_other_node open_for_writing /run/other
}
end_open_other_node() { end_running open_other_node && rm /run/other; }

begin_open_generic() { keep_running open_generic open_for_writing "$(generic_node_of "$1")"; }
end_open_generic() { end_running open_generic; }

# Tells whether the kernel gives the disk to one more exclusive user.
tell_if_free() {
  if sg_dd if="$1" iflag=excl of=. bs=512 count=1 >/dev/null 2>&1; then echo free; fi
}
