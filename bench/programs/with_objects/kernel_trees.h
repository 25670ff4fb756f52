// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "bench/programs/measured.h"
#include "hasupport/io/kernel_roots.h"

namespace bench {

/// A made-up /sys and /proc below a directory, and the list of the files in it that tell something.
class KernelTree {
  public:
    explicit KernelTree(const std::string& place) : place_(place) {
        roots.sys = place + "/sys";
        roots.proc = place + "/proc";
        for (const auto& each : {place, roots.sys, roots.proc, roots.sys + "/block"}) {
            ::mkdir(each.c_str(), 0755);
        }
    }

    /// Disks of SCSI hosts, all beneath one array.
    void addDisks(int count) {
        std::vector<std::string> slaves;
        directory("/block/md0");
        directory("/block/md0/slaves");
        directory("/block/md0/md");
        for (int i = 0; i < count; ++i) {
            const std::string name = "sd" + std::to_string(i);
            const std::string host = "host" + std::to_string(i);
            const std::string disk = "/devices/" + host + "/" + name;
            directory("/devices");
            directory("/devices/" + host);
            directory(disk);
            directory(disk + "/device");
            directory(disk + "/slaves");
            directory("/block/md0/slaves/" + name);
            directory("/class");
            directory("/class/scsi_host");
            directory("/class/scsi_host/" + host);
            const std::string link = roots.sys + "/block/" + name;
            need(::symlink((".." + disk).c_str(), link.c_str()) == 0, "symlink");
            links.push_back(link);
            slaves.push_back(link + "/slaves");
            put("/block/" + name + "/removable", "0\n");
            put("/block/" + name + "/device/state", "running\n");
            put("/class/scsi_host/" + host + "/state", "running\n");
            put("/block/" + name + "/device/iotmo_cnt", "0x0\n");
            put("/block/" + name + "/device/ioerr_cnt", "0x3\n");
        }
        directories = {roots.sys + "/block", roots.sys + "/block/md0/md",
                       roots.sys + "/block/md0/slaves"};
        directories.insert(directories.end(), slaves.begin(), slaves.end());
    }

    void addArrays(int count) {
        for (int i = 0; i < count; ++i) {
            const std::string md = "/block/md" + std::to_string(i) + "/md";
            directory("/block/md" + std::to_string(i));
            directory(md);
            put(md + "/array_state", "clean\n");
            put(md + "/sync_action", "idle\n");
            put(md + "/resync_start", "none\n");
            put(md + "/degraded", "0\n");
        }
        directories = {roots.sys + "/block"};
    }

    void addResources(int count) {
        std::string text = "version: 8.4.11 (api:1/proto:86-101)\nsrcversion: 0123456789ABCDEF\n";
        for (int i = 0; i < count; ++i) {
            text += " " + std::to_string(i) +
                    ": cs:Connected ro:Primary/Secondary ds:UpToDate/UpToDate C r-----\n"
                    "    ns:18 nr:0 dw:18 dr:1321 al:2 bm:0 lo:0 pe:0 ua:0 ap:0 ep:1 wo:f oos:0\n";
        }
        write(roots.proc + "/drbd", text);
    }

    KORA::HA::Daemon::support::KernelRoots roots;
    std::vector<std::string> files;
    std::vector<std::string> links;
    std::vector<std::string> directories;

  private:
    void directory(const std::string& path) { ::mkdir((roots.sys + path).c_str(), 0755); }
    void put(const std::string& path, const std::string& text) { write(roots.sys + path, text); }
    void write(const std::string& path, const std::string& text) {
        std::FILE* const file = std::fopen(path.c_str(), "w");
        need(file != nullptr, path.c_str());
        std::fputs(text.c_str(), file);
        std::fclose(file);
        files.push_back(path);
    }

    std::string place_;
};

}  // namespace bench
