#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# shellcheck disable=SC2013 # the words of the command line are what is meant
# Process 1 of a lab node without a service manager: sets the machine up, then obeys the host.
export PATH=/usr/local/sbin:/usr/sbin:/sbin:/usr/bin:/bin HOME=/root LC_ALL=C
for word in $(cat /proc/cmdline); do
    case $word in
        lab.node=*) node=${word#*=} ;;
    esac
done

mount -t tmpfs -o mode=1777 tmp /tmp
mount -t tmpfs -o mode=755 run /run
mount -t tmpfs -o mode=755 drbd /var/lib/drbd
mkdir -p /dev/pts /dev/shm /run/lock
mount -t devpts pts /dev/pts
hostname "node$node"
printf '127.0.0.1 localhost\n10.77.0.1 node1\n10.77.0.2 node2\n' > /etc/hosts
echo 1 > /proc/sys/kernel/panic

mkdir -p /disk
blkid /dev/vda > /dev/null 2>&1 || mke2fs -q -t ext4 /dev/vda
mount -t ext4 /dev/vda /disk
mkdir -p /disk/lib /disk/log /var/lib/ha /var/log/ha /var/packages/Twinhold/target/sbin /tmp/ha
mount --bind /disk/lib /var/lib/ha
mount --bind /disk/log /var/log/ha
cp /lab/guest/cluster-tool /var/packages/Twinhold/target/sbin/koraha
chmod 755 /var/packages/Twinhold/target/sbin/koraha
cp /lab/guest/drbd.conf /etc/drbd.conf
rm -f /sbin/reboot
cp /lab/guest/reboot /sbin/reboot
chmod 755 /sbin/reboot

ip link set lo up
ip link set eth0 up
ip addr add "10.77.0.$node/24" dev eth0
ip -6 addr add "fd77::$node/64" dev eth0 nodad
[ ! -x /var/lib/ha/on-boot ] || setsid /var/lib/ha/on-boot > /disk/on-boot.log 2>&1 < /dev/null &

exec /bin/sh /lab/guest/agent.sh
