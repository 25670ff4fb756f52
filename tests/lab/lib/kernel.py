# SPDX-License-Identifier: Apache-2.0
"""The guests' kernel: Debian's own, downloaded and unpacked but never installed."""

import lzma
import pathlib
import shutil

from lib import host

XZ_MAGIC = b"\xfd7zXZ\x00"
BOOT_MODULES = ["virtio_pci", "9pnet_virtio", "9p", "overlay", "virtio_net", "virtio_blk",
                "ext4"]


def newest_image():
    names = host.run("apt-cache", "search", "--names-only", r"^linux-image-6\.1\.[0-9-]+-amd64$").split("\n")
    images = [line.split()[0] for line in names if line.startswith("linux-image-")]
    if not images:
        raise SystemExit("lab: no kernel package to be had; run 'apt-get update' and try again")
    return max(images, key=lambda name: [int(n) for n in name.replace("-", ".").split(".") if n.isdigit()])


def unpack(cache):
    """Downloads and unpacks the kernel package into `cache`, once."""
    root = cache / "kernel"
    if (root / "complete").exists():
        return root
    host.remove(root)
    root.mkdir(parents=True)
    host.run("apt-get", "download", newest_image(), cwd=cache)
    package = max(cache.glob("linux-image-*.deb"), key=lambda p: p.stat().st_mtime)
    host.run("dpkg-deb", "-x", package, root)
    package.unlink()
    host.run("depmod", "-b", root, version(root))
    uncompress(next((root / "boot").glob("vmlinuz-*")), root / "vmlinux")
    (root / "complete").touch()
    return root


def version(root):
    return next((root / "lib/modules").iterdir()).name


def uncompress(vmlinuz, vmlinux):
    """Booting the bare ELF image saves the guest three seconds of unpacking under emulation."""
    image = vmlinuz.read_bytes()
    start = image.find(XZ_MAGIC)
    while start >= 0:
        try:
            plain = lzma.LZMADecompressor().decompress(image[start:])
        except lzma.LZMAError:
            plain = b""
        if plain.startswith(b"\x7fELF"):
            vmlinux.write_bytes(plain)
            return
        start = image.find(XZ_MAGIC, start + 1)
    raise SystemExit("lab: no kernel found inside " + str(vmlinuz))


def module_files(root):
    """The boot modules' files in the order of loading."""
    files = []
    for module in BOOT_MODULES:
        lines = host.run("modprobe", "-d", root, "-S", version(root), "--show-depends", module).split("\n")
        for line in lines:
            if line.startswith("insmod ") and line.split()[1] not in files:
                files.append(line.split()[1])
    return files


def initramfs(root, guest, out):
    """An archive of busybox, the boot modules and the init script."""
    tree = out.with_suffix(".tree")
    host.remove(tree)
    (tree / "bin").mkdir(parents=True)
    (tree / "modules").mkdir()
    shutil.copy("/bin/busybox", tree / "bin/busybox")
    shutil.copy(guest / "init", tree / "init")
    (tree / "init").chmod(0o755)
    order = []
    for path in map(pathlib.Path, module_files(root)):
        shutil.copy(path, tree / "modules" / path.name)
        order.append(path.name)
    (tree / "modules/order").write_text("\n".join(order) + "\n")
    names = "\n".join(str(p.relative_to(tree)) for p in sorted(tree.rglob("*")))
    made = out.with_suffix(".made")
    host.run("cpio", "--quiet", "-o", "-H", "newc", "-R", "0:0", "-O", made, cwd=tree, given=names)
    made.rename(out)  # in one step, since the machines of another lab may be reading it
    host.remove(tree)
