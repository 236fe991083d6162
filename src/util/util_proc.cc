// Shell commands and the inter-process lock.
#include <sys/sem.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "util.h"

extern "C" {

APUTIL_API int util_systemEx(const char *cmd) {
  if (!cmd) return -1;
  const pid_t pid = fork();
  if (pid == -1) return -1;
  if (pid == 0) {
    char *const argv[] = {const_cast<char *>("sh"), const_cast<char *>("-c"), const_cast<char *>(cmd), nullptr};
    execve("/bin/sh", argv, nullptr);
    _exit(127);
  }
  int status = 0;
  while (waitpid(pid, &status, 0) == -1) {
    if (errno != EINTR) return -1;
  }
  return (status & 0x7f) ? -1 : 0;  // the exit code is not looked at
}

APUTIL_API int util_execFormatCmd(const char *fmt, ...) {
  char buf[256] = {0};
  va_list ap;
  va_start(ap, fmt);
  std::vsnprintf(buf, sizeof buf, fmt, ap);
  va_end(ap);
  if (std::strchr(buf, ';') || std::strstr(buf, "&&")) {
    std::printf("Parameter contains illegal character!");
    return -1;
  }
  return util_systemEx(buf);
}

APUTIL_API int util_init_sem(int *pSemid, int key) {
  if (!pSemid) {
    std::puts("pSemid == NULL");
    return -1;
  }
  *pSemid = semget(key, 0, IPC_CREAT | 0666);
  if (*pSemid != -1) return 0;
  *pSemid = semget(key, 1, IPC_CREAT | 0666);
  if (*pSemid == -1) {
    std::printf("semget failed, reason: %s\n", std::strerror(errno));
    return -1;
  }
  if (semctl(*pSemid, 0, SETVAL, 1) == -1) {
    std::printf("setctl setval 1 failed, reason: %s\n", std::strerror(errno));
    if (semctl(*pSemid, 0, IPC_RMID) == -1) std::printf("semctl IPC_RMID failed, reason: %s\n", std::strerror(errno));
    return -1;
  }
  return 0;
}

APUTIL_API int util_sem_lock(int semid) {
  sembuf lock = {0, -1, SEM_UNDO};
  for (int attempt = 0; attempt < 30; ++attempt) {
    const int rc = semop(semid, &lock, 1);
    if (rc == 0) return 0;
    if (errno == EINTR || rc == EINTR) {
      std::puts("lock interrupted by signal");
      continue;
    }
    if (errno == EAGAIN || rc == EAGAIN)
      std::printf("timed out, reason =%s rc=%d\n", std::strerror(errno), rc);
    else
      std::printf("lock failed, reason=%s rc=%d\n", std::strerror(errno), rc);
    return -1;
  }
  return -1;
}

APUTIL_API int util_sem_unlock(int semid) {
  sembuf unlock = {0, 1, SEM_UNDO};
  const int rc = semop(semid, &unlock, 1);
  if (rc == 0) return 0;
  std::printf("release lock failed, reason=%s\n", std::strerror(errno));
  return rc;
}

}  // extern "C"
