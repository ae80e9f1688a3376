#!/bin/bash
# Checks that a save that was answered survives a loss of power, on several file systems:
#   scripts/check-power-loss.sh build/release
# Root only. Mounts each file system from an image, saves through the library, and copies the image right after the answer: what
# the system has not written to the device by then is lost. The file system's own check repairs the copy, which must then hold
# the new text and no other file.
set -euo pipefail

build=${1:?usage: $0 <build folder>}
if ((EUID != 0)); then
  echo "$0: only root may mount file systems" >&2
  exit 2
fi
library=$(realpath "$build/lib/libtarvik.so")
folder=$(mktemp --directory)
mounted=$folder/mounted
mkdir "$mounted"
# shellcheck disable=SC2317  # called by the trap
clean_up() {
  ! mountpoint --quiet "$mounted" || umount "$mounted"
  rm -rf "$folder"
}
trap clean_up EXIT

# name|the command that makes it|the command that checks and repairs it
fileSystems=(
  "ext2|mkfs.ext2 -q|e2fsck -fy"
  "ext4|mkfs.ext4 -q|e2fsck -fy"
  "ext4 without journal|mkfs.ext4 -q -O ^has_journal|e2fsck -fy"
  "xfs|mkfs.xfs -q|xfs_repair"
  "btrfs|mkfs.btrfs -q|btrfs check"
)

# save <text> <kind> <image>: sets the text, of a file that is there or that has vanished, and copies the image.
save() {
  python3 - "$library" "$mounted/folder/file.xml" "$@" <<'END'
import ctypes, os, shutil, sys

library, name, text, kind, image = sys.argv[1:]
tarvik = ctypes.CDLL(library)
documents, cookie = ctypes.c_void_p(), ctypes.c_uint32()
tarvik.InitXMLList(ctypes.byref(documents))
if tarvik.OpenXML(documents, os.fsencode(name), 0x80000000, 0, ctypes.byref(cookie)) != 0:
    sys.exit("cannot open the file")
if kind == "anew":
    os.unlink(name)
if tarvik.SetXMLItem(documents, cookie, b"", b"A", b"ELEMENT", text.encode()) != 0:
    sys.exit("cannot save the file")
shutil.copyfile(image, image + ".copy")
END
}

# try_save <kind> <image> <check...>: prints what is wrong; nothing if all is well.
try_save() {
  local kind=$1 image=$2 text found
  shift 2
  mkdir "$mounted/folder"
  # The new file's inode must not share a block with the folder's, or it would be written along with that.
  touch "$mounted"/folder/other-{1..100}
  echo "<R><A>old</A></R>" >"$mounted/folder/file.xml"
  sync --file-system "$mounted"
  text=$(printf 'new%.0s' {1..3000})
  save "$text" "$kind" "$image"
  rm -r "$mounted/folder"
  umount "$mounted"
  # Mounting replays the log, which some checks need; a damaged file system may refuse it.
  [[ $1 == e2fsck ]] || { mount -o loop "$image.copy" "$mounted" && umount "$mounted"; }
  "$@" "$image.copy" >"$folder/check.log" 2>&1 || true # its status also tells that it repaired something
  mount -o loop "$image.copy" "$mounted"
  found=$(find "$mounted/folder" -type f ! -name 'other-*' -printf '%f ' 2>/dev/null)
  [[ $found == "file.xml " ]] || echo "the folder holds: $found"
  [[ $(cat "$mounted/folder/file.xml" 2>/dev/null) == "<R><A>$text</A></R>" ]] || echo "the new text is gone"
  umount "$mounted"
}

failures=0
for fileSystem in "${fileSystems[@]}"; do
  IFS='|' read -r name make check <<<"$fileSystem"
  for kind in changed anew; do
    image=$folder/image
    rm -f "$image" && truncate --size 400M "$image"
    if ! command -v "${make%% *}" >/dev/null; then
      echo "$name: not checked, ${make%% *} is missing"
      continue
    fi
    $make "$image" >/dev/null
    mount -o loop "$image" "$mounted"
    # shellcheck disable=SC2086  # words of a command
    result=$(try_save "$kind" "$image" $check)
    echo "$name, file $kind: ${result:-the new text}"
    [[ -z $result ]] || failures=$((failures + 1))
  done
done
exit $((failures > 0))
