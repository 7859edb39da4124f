/* The yardstick of the bench: what the wires alone cost.
 *
 *   relay BOARD_PORT CLOUD_PORT CLOUD_FILTER UPLOAD_TOPIC ATTITUDE_BYTES ALARM_BYTES
 *
 * It subscribes to what the crane's controller subscribes to and answers each neighbour's report
 * with publications of the same topics and sizes, in the controller's order: the attitude report on
 * the board, then in the cloud, then, for a report that moves an alarm, the alarm. It computes
 * nothing: a report is what comes on a topic ending in "/Data", and the bench begins one that moves
 * an alarm with a blank.
 */
#include <mosquitto.h>

#include <poll.h>
#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

struct Link {
    struct mosquitto *client;
    const char *filter;
};

/* What has come since the last answer. Filled while a packet is read, answered after that. */
static int reports = 0;
static int alarms = 0;

static void fail(const char *what, int code)
{
    fprintf(stderr, "relay: %s: %s\n", what, mosquitto_strerror(code));
    exit(1);
}

static void check(const char *what, int code)
{
    if (code != MOSQ_ERR_SUCCESS)
        fail(what, code);
}

static void onConnect(struct mosquitto *client, void *link, int code)
{
    if (code != 0)
        fail("refused", code);
    check("subscribing", mosquitto_subscribe(client, NULL, ((struct Link *)link)->filter, 1));
}

static void onMessage(struct mosquitto *client, void *link, const struct mosquitto_message *message)
{
    (void)client;
    (void)link;
    const char *const last = strrchr(message->topic, '/');
    if (!last || strcmp(last, "/Data") != 0)
        return;
    ++reports;
    alarms += message->payloadlen > 0 && *(const char *)message->payload == ' ';
}

static void connectTo(struct Link *link, int port, const char *filter)
{
    link->filter = filter;
    link->client = mosquitto_new(NULL, true, link);
    if (!link->client)
        fail("client", MOSQ_ERR_NOMEM);
    mosquitto_int_option(link->client, MOSQ_OPT_TCP_NODELAY, 1);
    mosquitto_connect_callback_set(link->client, onConnect);
    mosquitto_message_callback_set(link->client, onMessage);
    check("connecting", mosquitto_connect(link->client, "127.0.0.1", port, 10));
}

static void publish(const struct Link *link, const char *topic, const char *payload, int size)
{
    check("publishing", mosquitto_publish(link->client, NULL, topic, size, payload, 0, false));
}

static char *payloadOf(int size)
{
    char *const payload = malloc((size_t)size + 1);
    if (!payload)
        fail("payload", MOSQ_ERR_NOMEM);
    memset(payload, 'x', (size_t)size + 1);
    return payload;
}

/* Waits for either broker, a second at most, and takes in what is there. */
static void serve(const struct Link *links, int count)
{
    struct pollfd sockets[2];
    for (int i = 0; i < count; ++i) {
        sockets[i].fd = mosquitto_socket(links[i].client);
        sockets[i].events = POLLIN;
        if (mosquitto_want_write(links[i].client))
            sockets[i].events |= POLLOUT;
    }
    const int ready = poll(sockets, (nfds_t)count, 1000);
    for (int i = 0; i < count; ++i) {
        if (ready > 0 && sockets[i].revents & POLLOUT)
            check("writing", mosquitto_loop_write(links[i].client, 1));
        if (ready > 0 && sockets[i].revents & (POLLIN | POLLHUP | POLLERR))
            check("reading", mosquitto_loop_read(links[i].client, 1));
        check("keeping alive", mosquitto_loop_misc(links[i].client));
    }
}

int main(int argc, char **argv)
{
    if (argc != 7) {
        fprintf(stderr, "usage: relay BOARD_PORT CLOUD_PORT CLOUD_FILTER UPLOAD_TOPIC"
                        " ATTITUDE_BYTES ALARM_BYTES\n");
        return 2;
    }
    const char *const uploadTopic = argv[4];
    const int attitudeBytes = atoi(argv[5]);
    const int alarmBytes = atoi(argv[6]);
    const char *const payload = payloadOf(attitudeBytes > alarmBytes ? attitudeBytes : alarmBytes);

    mosquitto_lib_init();
    struct Link links[2];
    const struct Link *const board = &links[0];
    const struct Link *const cloud = &links[1];
    connectTo(&links[0], atoi(argv[1]), "Local/#");
    connectTo(&links[1], atoi(argv[2]), argv[3]);
    while (true) {
        serve(links, 2);
        for (; reports > 0; --reports) {
            publish(board, "Local/Vicinity/Attitude/TEXT", payload, attitudeBytes);
            publish(cloud, uploadTopic, payload, attitudeBytes);
            for (; alarms > 0; --alarms)
                publish(board, "Local/Alarm", payload, alarmBytes);
        }
    }
}
