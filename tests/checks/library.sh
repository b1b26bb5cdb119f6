#!/usr/bin/env bash
# Checks a built shared library, libscsitool or libscsitool-hosts: what it needs, how it is called, and
# that it exports nothing but the published names.
#   library.sh LIBRARY COMPILER-VERSION
# What GCC 12 exports is also compared with the stored list, so that no symbol goes or comes unseen;
# --update writes the list anew:  library.sh LIBRARY - --update
# A generator that the list does not know at all is a new family: its class may come without it, as
# far as it is what every family publishes.
set -euo pipefail
export LC_ALL=C
library=$1 compiler=$2
name=$(basename -- "${library%%.so*}")
lists=$(dirname -- "${BASH_SOURCE[0]}")
case $name in
    libscsitool)
        version=SCSITOOL_1 list=$lists/exported_symbols.txt own=
        published='(qzfi_pdk_4_4|host|udid)::|C[A-Z][A-Za-z0-9]*(::|-in-|$)|WWPN(::|$)'
        classes=(CUDIDFactory CLinuxDeviceDiscovery CScsiTool WWPN)
        ;;
    libscsitool-hosts)
        version=SCSITOOL_HOSTS_1 list=$lists/exported_symbols_hosts.txt own=libscsitool.so.1
        published='hosts::'
        classes=(hosts::{Journal,RecordedHost,RecordingHost,DryRunHost,JournalingHost,GuardedHost})
        ;;
esac
status=0
complain() {
    echo "$*" >&2
    status=1
}

dynamic=$(readelf -d "$library")
soname=$(sed -n 's/.*SONAME.*\[\(.*\)\]/\1/p' <<<"$dynamic")
[ "$soname" = "$name.so.1" ] || complain "the SONAME is '$soname'"
[ -n "$own" ] || grep -q '(FLAGS_1).*NODELETE' <<<"$dynamic" ||
    complain "may be unmapped, with the code of what it left to others"
while read -r needed; do
    case $needed in
        "$own") ;;
        libstdc++.so.6 | libgcc_s.so.1 | libm.so.6 | libc.so.6 | ld-linux*) ;;
        *) complain "needs $needed, which is neither the C++ runtime nor libc" ;;
    esac
done < <(sed -n 's/.*NEEDED.*\[\(.*\)\]/\1/p' <<<"$dynamic")

# Function and object names, and what the compiler makes for a class.
exported=$(nm -DC --defined-only "$library" | cut -d' ' -f3- | sed "s/@@$version\$//")
[ -n "$exported" ] || complain "exports nothing"
stray=$(grep -vE "^($version|((typeinfo|vtable|VTT|typeinfo name|guard variable|construction vtable|(non-)?virtual thunk) (for|to) )?($published))" <<<"$exported" || true)
[ -z "$stray" ] || complain "exports names that are not published:"$'\n'"$stray"
for class in "${classes[@]}"; do
    grep -q "^$class::" <<<"$exported" || complain "does not export $class"
done

symbols() {
    nm -D --defined-only "$library" | awk '$2 != "A" { sub("@@.*", "", $3); print $3 }' | sort
}
# What a family's class has: constructor and destructor, the operations of the base that it may
# override, vtable and type information.
generator='[0-9]+C[A-Z][A-Za-z0-9]*UdidGenerator'
family="^_ZT[ISV]$generator\$|^_ZN$generator([CD][012]E|(11claimDevice|23getUniqueDeviceIDPrefix|17getUniqueDeviceID)(B5cxx11)?EP15CScsiDeviceData\$)"
new_families() {
    comm -23 <(symbols) "$list" | grep -E "$family" | while read -r symbol; do
        class=$(grep -oE "$generator" <<<"$symbol" | head -n 1)
        grep -qF "_ZTI$class" "$list" || echo "$symbol"
    done
}
if [ "${3:-}" = --update ]; then
    symbols >"$list"
elif [[ $compiler == GNU-12.* ]] && ! difference=$(diff <(comm -23 <(symbols) <(new_families)) "$list"); then
    complain "the exported symbols (<) differ from the stored ones (>):"$'\n'"$(c++filt <<<"$difference")"
fi
exit $status
