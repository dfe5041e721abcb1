#!/bin/sh
# Makes docs/images/node-manager.png from a real run: starts storescp, dcmqrscp (holding
# one instance, and knowing the window's AE title as a move destination) and Orthanc with
# its DICOMweb plugin on loopback, writes a catalogue of them plus one node where nothing
# listens, opens it in telvor-node-manager under Xvfb, checks every node (with the query
# and retrieve checks) and takes the window's picture with the web node in the editor.
#
#   docs/node-manager-screenshot.sh [BUILD_DIR]     # default: ${BUILD_ROOT:-build}/default
#
# Needs the built telvor-nodes and telvor-node-manager, and Debian's dcmtk, orthanc,
# orthanc-dicomweb and xvfb. Everything runs inside one private network namespace
# (unshare -rn), since Orthanc listens on every address; the window checks its peers
# from inside it. Re-run it whenever the window changes.
set -eu

here=$(cd "$(dirname "$0")" && pwd)
root=$(dirname "$here")
out=$here/images/node-manager.png

if [ "${1:-}" != "--inside" ]; then
  build=$(cd "${1:-${BUILD_ROOT:-$root/build}/default}" && pwd)
  for tool in "$build/tools/telvor-nodes" "$build/tools/node_manager/telvor-node-manager"; do
    [ -x "$tool" ] || { echo "$0: $tool is not built (cmake --build $build)" >&2; exit 2; }
  done
  for program in storescp storescu dump2dcm dcmqrscp Orthanc xvfb-run unshare python3; do
    command -v "$program" >/dev/null || { echo "$0: $program is not installed" >&2; exit 2; }
  done
  exec unshare -rn sh -c 'ip link set lo up && exec "$0" --inside "$1"' "$0" "$build"
fi

build=$2
nodes=$build/tools/telvor-nodes
manager=$build/tools/node_manager/telvor-node-manager
dicomweb=$(ls /usr/share/orthanc/plugins/libOrthancDicomWeb.so 2>/dev/null || true)
[ -n "$dicomweb" ] || { echo "$0: Orthanc's DICOMweb plugin is not installed (orthanc-dicomweb)" >&2; exit 2; }

scratch=$(mktemp -d)
pids=""
cleanup() {
  for pid in $pids; do kill "$pid" 2>/dev/null || true; done
  for pid in $pids; do wait "$pid" 2>/dev/null || true; done
  rm -rf "$scratch"
}
trap cleanup EXIT INT TERM

# The namespace is ours alone, so fixed ports are free.
storescp_port=11112 qr_port=11113 orthanc_dicom=4242 orthanc_http=8042 silent_port=11119 listen_port=11120

storescp --aetitle STORESCP -od "$scratch" "$storescp_port" >"$scratch/storescp.log" 2>&1 &
pids="$pids $!"

mkdir -p "$scratch/db"
cat >"$scratch/dcmqrscp.cfg" <<EOF
MaxPDUSize = 16384
MaxAssociations = 4
HostTable BEGIN
viewer = (TELVOR, 127.0.0.1, $listen_port)
HostTable END
VendorTable BEGIN
VendorTable END
AETable BEGIN
ARCHIVE $scratch/db RW (10, 1024mb) ANY
AETable END
EOF
# Not --single-process: the archive stores an instance first, then answers the checks.
dcmqrscp -c "$scratch/dcmqrscp.cfg" "$qr_port" >"$scratch/dcmqrscp.log" 2>&1 &
pids="$pids $!"

mkdir -p "$scratch/orthanc"
cat >"$scratch/orthanc.json" <<EOF
{ "Name" : "telvor-screenshot", "StorageDirectory" : "$scratch/orthanc", "IndexDirectory" : "$scratch/orthanc",
  "HttpPort" : $orthanc_http, "DicomPort" : $orthanc_dicom, "DicomAet" : "ORTHANC",
  "RemoteAccessAllowed" : false, "AuthenticationEnabled" : false,
  "Plugins" : [ "$dicomweb" ], "DicomWeb" : { "Enable" : true, "Root" : "/dicom-web/" } }
EOF
Orthanc "$scratch/orthanc.json" >"$scratch/orthanc.log" 2>&1 &
pids="$pids $!"

# Every peer listening (bounded: 60 s), Orthanc's DICOMweb answering.
python3 - "$storescp_port" "$qr_port" "$orthanc_dicom" "$orthanc_http" <<'EOF'
import socket, sys, time, urllib.request
deadline = time.monotonic() + 60
for port in map(int, sys.argv[1:]):
    while True:
        try:
            socket.create_connection(("127.0.0.1", port), timeout=1).close()
            break
        except OSError:
            if time.monotonic() > deadline:
                sys.exit("port %d: nothing listens after 60 s" % port)
            time.sleep(0.2)
while True:
    try:
        urllib.request.urlopen("http://127.0.0.1:%s/dicom-web/studies" % sys.argv[4], timeout=5).read()
        break
    except OSError:
        if time.monotonic() > deadline:
            sys.exit("Orthanc's DICOMweb does not answer after 60 s")
        time.sleep(0.2)
EOF

# One made-up instance (a 2x2 secondary capture) for the archive to hold.
cat >"$scratch/instance.dump" <<'EOF'
(0008,0016) UI =SecondaryCaptureImageStorage
(0008,0018) UI [1.2.826.0.1.3680043.2.1143.4243.1.1.1]
(0008,0020) DA [20260101]
(0008,0060) CS [OT]
(0008,0064) CS [WSD]
(0010,0010) PN [Screenshot^Test]
(0010,0020) LO [SHOT1]
(0020,000d) UI [1.2.826.0.1.3680043.2.1143.4243.1]
(0020,000e) UI [1.2.826.0.1.3680043.2.1143.4243.1.1]
(0020,0010) SH [1]
(0020,0011) IS [1]
(0020,0013) IS [1]
(0028,0002) US 1
(0028,0004) CS [MONOCHROME2]
(0028,0010) US 2
(0028,0011) US 2
(0028,0100) US 8
(0028,0101) US 8
(0028,0102) US 7
(0028,0103) US 0
(7fe0,0010) OB 00\7f\80\ff
EOF
dump2dcm -g +te "$scratch/instance.dump" "$scratch/instance.dcm" >"$scratch/dump2dcm.log" 2>&1
storescu -aec ARCHIVE 127.0.0.1 "$qr_port" "$scratch/instance.dcm" >"$scratch/storescu.log" 2>&1

catalogue=$scratch/nodes.plist
"$nodes" add "$catalogue" --name "Orthanc (DICOMweb)" --aet ORTHANC --address 127.0.0.1 --port "$orthanc_dicom" \
  --retrieve wado --wado-url "http://127.0.0.1:$orthanc_http/dicom-web" --wado-port "$orthanc_http" --https no \
  --wado-user viewer --wado-syntax "JPEG 2000 Lossless" --queryable yes --icon server.rack \
  --wado-password-stdin <<EOF
not-a-real-password
EOF
"$nodes" add "$catalogue" --name "Storage SCP" --aet STORESCP --address 127.0.0.1 --port "$storescp_port" \
  --retrieve cmove --queryable no
"$nodes" add "$catalogue" --name "Query/retrieve archive" --aet ARCHIVE --address 127.0.0.1 --port "$qr_port" \
  --retrieve cmove --queryable yes
"$nodes" add "$catalogue" --name "Switched-off workstation" --aet WORKSTATION --address 127.0.0.1 \
  --port "$silent_port"

mkdir -p "$(dirname "$out")"
xvfb-run -a -s "-screen 0 1600x1000x24" env QT_QPA_PLATFORM=xcb QT_NO_XDG_DESKTOP_PORTAL=1 \
  "$manager" --test-all --check-find --check-retrieve --listen-port "$listen_port" --timeout 5 \
  --screenshot "$out.part" "$catalogue"
mv "$out.part" "$out"
echo "wrote $out"
