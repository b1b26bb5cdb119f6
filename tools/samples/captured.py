"""The samples that were captured, each with what the host suffers from."""

LAB = "Taken of a guest of tests/system, whose array is made up; the rescan script's text is left out. "

CAPTURED = {
    "sick-dead-path": LAB + "Two volumes over two portals of an iSCSI array; one portal is gone. The map of the "
                            "first volume is mounted, that of the second is unused.",
    "sick-all-paths-down": LAB + "The same with both portals gone.",
    "sick-withdrawn-lun": LAB + "LUN 1 and 2 were withdrawn after the kernel had found them: LUN 1 answers with "
                                "peripheral qualifier 3, LUN 2 with LOGICAL UNIT NOT SUPPORTED.",
    "sick-remapped-lun": LAB + "Another volume, twice as large, stands at LUN 1 by now; the kernel still has the "
                               "pages of the former one.",
    "sick-far-lun": LAB + "A volume whose LUN, 300, is addressed in flat space, which is 16684 to the kernel; its "
                          "low byte is that of LUN 44, which is there, too.",
    "sick-write-protected": LAB + "LUN 1 is write-protected.",
    "sick-silent-disk": LAB + "LUN 1 swallows every command.",
    "sick-slow-array": LAB + "Four volumes of an array that takes 0.2 seconds for every command.",
}
