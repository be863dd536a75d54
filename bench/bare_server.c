/* Baseline for the load benchmark: a bare libmicrohttpd server that suspends each POST, hands it
 * to one worker thread and resumes it with a fixed JSON answer, the way the service answers from
 * its own worker. Usage: bare_server PORT (0 = any free port); prints the port it listens on. */
#include <microhttpd.h>
#include <pthread.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#define QUEUE_SIZE 4096

static const char kAnswer[] = "{\"code\": -32700, \"message\": \"Parse error\"}";

struct Request {
    struct MHD_Connection* connection;
    int answered;
};

/* Worker queue: guarded by g_mutex, signalled by g_wake. */
static pthread_mutex_t g_mutex = PTHREAD_MUTEX_INITIALIZER;
static pthread_cond_t g_wake = PTHREAD_COND_INITIALIZER;
static struct Request* g_queue[QUEUE_SIZE];
static size_t g_head, g_tail;

static void* worker(void* unused) {
    (void)unused;
    for (;;) {
        pthread_mutex_lock(&g_mutex);
        while (g_head == g_tail) {
            pthread_cond_wait(&g_wake, &g_mutex);
        }
        struct Request* request = g_queue[g_head++ % QUEUE_SIZE];
        pthread_mutex_unlock(&g_mutex);
        request->answered = 1;
        MHD_resume_connection(request->connection);
    }
    return NULL;
}

static enum MHD_Result onRequest(void* cls, struct MHD_Connection* connection, const char* url,
                                 const char* method, const char* version, const char* data,
                                 size_t* size, void** state) {
    (void)cls, (void)url, (void)method, (void)version, (void)data;
    struct Request* request = *state;
    if (request == NULL) {
        request = calloc(1, sizeof(*request));
        request->connection = connection;
        *state = request;
        return MHD_YES;
    }
    if (*size != 0) {
        *size = 0; /* the body is not needed */
        return MHD_YES;
    }
    if (!request->answered) {
        MHD_suspend_connection(connection);
        pthread_mutex_lock(&g_mutex);
        g_queue[g_tail++ % QUEUE_SIZE] = request;
        pthread_cond_signal(&g_wake);
        pthread_mutex_unlock(&g_mutex);
        return MHD_YES;
    }
    struct MHD_Response* response = MHD_create_response_from_buffer(
        sizeof(kAnswer) - 1, (void*)kAnswer, MHD_RESPMEM_PERSISTENT);
    MHD_add_response_header(response, "Content-Type", "application/json");
    enum MHD_Result result = MHD_queue_response(connection, MHD_HTTP_FORBIDDEN, response);
    MHD_destroy_response(response);
    return result;
}

static void onCompleted(void* cls, struct MHD_Connection* connection, void** state,
                        enum MHD_RequestTerminationCode code) {
    (void)cls, (void)connection, (void)code;
    free(*state);
    *state = NULL;
}

int main(int argc, char** argv) {
    if (argc != 2) {
        fprintf(stderr, "usage: %s PORT\n", argv[0]);
        return 2;
    }
    /* Blocked before any thread starts, so that only sigwait below takes them. */
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &signals, NULL);
    pthread_t thread;
    pthread_create(&thread, NULL, worker, NULL);
    struct MHD_Daemon* daemon =
        MHD_start_daemon(MHD_USE_INTERNAL_POLLING_THREAD | MHD_USE_EPOLL | MHD_ALLOW_SUSPEND_RESUME,
                         (unsigned short)atoi(argv[1]), NULL, NULL, onRequest, NULL,
                         MHD_OPTION_NOTIFY_COMPLETED, onCompleted, NULL, MHD_OPTION_END);
    if (daemon == NULL) {
        fprintf(stderr, "bare_server: cannot listen on %s\n", argv[1]);
        return 1;
    }
    printf("%u\n", (unsigned)MHD_get_daemon_info(daemon, MHD_DAEMON_INFO_BIND_PORT)->port);
    fflush(stdout);
    int received;
    sigwait(&signals, &received);
    MHD_stop_daemon(daemon);
    return 0;
}
