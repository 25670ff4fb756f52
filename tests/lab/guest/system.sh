#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# shellcheck disable=SC2013 # the words of the command line are what is meant
# Process 1 of a lab node with a service manager, until it hands over to that one: gives the node its
# name, its address, the cluster tool and the service that obeys the host.
for word in $(cat /proc/cmdline); do
    case $word in
        lab.node=*) node=${word#*=} ;;
    esac
done
echo "node$node" > /etc/hostname
printf '127.0.0.1 localhost\n10.77.0.1 node1\n10.77.0.2 node2\n' > /etc/hosts
printf '[Match]\nName=eth0\n[Network]\nAddress=10.77.0.%s/24\n' "$node" > /etc/systemd/network/link.network
mkdir -p /var/packages/Twinhold/target/sbin
cp /lab/guest/cluster-tool /var/packages/Twinhold/target/sbin/koraha
chmod 755 /var/packages/Twinhold/target/sbin/koraha
cp /lab/guest/drbd.conf /etc/drbd.conf
cp /lab/guest/lab-agent.service /etc/systemd/system
ln -sf ../lab-agent.service /etc/systemd/system/multi-user.target.wants
exec /sbin/init
