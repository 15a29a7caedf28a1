/* A module whose start-up code waits for a thread that forks. */
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

int forks;

static void* fork_once(void* unused) {
  const pid_t child = fork();
  int status;
  if (child == 0) _exit(0);
  if (child > 0 && waitpid(child, &status, 0) == child) ++forks;
  return unused;
}

__attribute__((constructor)) static void start(void) {
  pthread_t thread;
  if (pthread_create(&thread, NULL, fork_once, NULL) == 0) pthread_join(thread, NULL);
}
