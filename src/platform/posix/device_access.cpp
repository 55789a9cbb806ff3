#include "platform/posix/device_access.h"

#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace tov::platform {
namespace {

std::string groupName(gid_t gid) {
  const group* g = getgrgid(gid);
  return g != nullptr ? g->gr_name : std::to_string(gid);
}

std::string userName(uid_t uid) {
  const passwd* p = getpwuid(uid);
  return p != nullptr ? p->pw_name : std::to_string(uid);
}

}  // namespace

bool mayOpenDevice(const std::string& path) {
  return access(path.c_str(), R_OK | W_OK) == 0 || (errno != EACCES && errno != EPERM);
}

DeviceNode deviceNodeState(const std::string& path) {
  struct stat st {};
  if (stat(path.c_str(), &st) != 0) return errno == EACCES ? DeviceNode::Refused : DeviceNode::Missing;
  return mayOpenDevice(path) ? DeviceNode::Present : DeviceNode::Refused;
}

std::string accessAdvice(const std::string& path) {
  const std::string refused = "this user may not open " + path + " (permission denied): ";
  struct stat st {};
  if (stat(path.c_str(), &st) != 0) return refused + "a folder on its path is closed to this user";
  const bool groupMayUse = (st.st_mode & (S_IRGRP | S_IWGRP)) == (S_IRGRP | S_IWGRP);
  if (groupMayUse && st.st_gid != 0) {
    const std::string group = groupName(st.st_gid);
    return refused + "it is open to the group '" + group + "'; add the user to it (sudo usermod -aG " + group +
           " $USER) and log in again";
  }
  char mode[8];
  std::snprintf(mode, sizeof mode, "%04o", static_cast<unsigned>(st.st_mode & 07777));
  return refused + "only its owner '" + userName(st.st_uid) + "' may (mode " + mode +
         "); a udev rule can open it to the group 'dialout' (MODE=\"0660\", GROUP=\"dialout\"), which the user "
         "then joins (sudo usermod -aG dialout $USER)";
}

}  // namespace tov::platform
