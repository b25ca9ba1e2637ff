/* A bare FastCGI responder: the floor the daemon is measured against.
 *
 * Same library, same single-threaded accept loop and same socket kind as
 * wsgated, but no SOAP work: it drains the request body (as the engine
 * reads the whole message) and answers every request with the bytes of one
 * file, which hold the CGI header lines and the body the daemon answers.
 *
 * Usage: bare_responder SOCKET_PATH REPLY_FILE
 * Stops on SIGTERM/SIGINT (the default action: nothing to clean up).
 */
#include <fcgiapp.h>
#include <stdio.h>
#include <stdlib.h>

/* Same listen backlog as the daemon, so nginx sees the same queueing. */
enum { kListenBacklog = 64, kDrainChunk = 16384 };

static char* ReadFile(const char* path, long* size) {
  FILE* file = fopen(path, "rb");
  char* data = NULL;
  if (file == NULL) return NULL;
  if (fseek(file, 0, SEEK_END) == 0 && (*size = ftell(file)) > 0 &&
      fseek(file, 0, SEEK_SET) == 0) {
    data = malloc((size_t)*size);
    if (data != NULL && fread(data, 1, (size_t)*size, file) != (size_t)*size) {
      free(data);
      data = NULL;
    }
  }
  fclose(file);
  return data;
}

int main(int argc, char** argv) {
  static char drain[kDrainChunk];
  FCGX_Request request;
  long reply_size = 0;
  char* reply;
  int fd;

  if (argc != 3) {
    fprintf(stderr, "usage: %s SOCKET_PATH REPLY_FILE\n", argv[0]);
    return 2;
  }
  reply = ReadFile(argv[2], &reply_size);
  if (reply == NULL) {
    fprintf(stderr, "bare_responder: cannot read %s\n", argv[2]);
    return 1;
  }
  if (FCGX_Init() != 0) return 1;
  fd = FCGX_OpenSocket(argv[1], kListenBacklog);
  if (fd < 0) {
    fprintf(stderr, "bare_responder: cannot listen on %s\n", argv[1]);
    return 1;
  }
  FCGX_InitRequest(&request, fd, 0);
  /* The run script waits for this line before sending traffic. */
  printf("listening on %s\n", argv[1]);
  fflush(stdout);
  while (FCGX_Accept_r(&request) >= 0) {
    /* Read the body to its end: leaving it unread would spare the work
     * the daemon has to do and flatter the floor. */
    while (FCGX_GetStr(drain, (int)sizeof drain, request.in) > 0) {
    }
    FCGX_PutStr(reply, (int)reply_size, request.out);
    FCGX_Finish_r(&request);
  }
  free(reply);
  return 0;
}
