"""The end-to-end stack plus a bare FastCGI responder behind the same nginx.

The harness's nginx serves the project's /wsgated location on its port;
this adds a second server on another port with the same location rendered
for the responder's socket, so both paths through nginx are identical but
for what answers on the socket.
"""

import http.client
import os
import subprocess

import harness

# The include slot of the nginx template (http level) that a second
# server is added next to.
INCLUDE_SLOT = "include %s/wsgated-tls.conf;"


def BARE_BIN(build_dir):
    return os.path.join(build_dir, "bench", "throughput", "bare_responder")


def cgi_params(user, content_type, length):
    """What nginx passes for a POST to /wsgated (deploy/nginx), enough for
    the daemon to serve the request as it would through nginx."""
    return {
        "REQUEST_METHOD": "POST", "CONTENT_TYPE": content_type,
        "CONTENT_LENGTH": str(length), "SCRIPT_NAME": "/wsgated",
        "REQUEST_URI": "/wsgated", "DOCUMENT_URI": "/wsgated",
        "SERVER_PROTOCOL": "HTTP/1.1", "GATEWAY_INTERFACE": "CGI/1.1",
        "SERVER_SOFTWARE": "nginx", "REMOTE_ADDR": "127.0.0.1",
        "REMOTE_PORT": "0", "SERVER_ADDR": "127.0.0.1",
        "SERVER_PORT": "0", "SERVER_NAME": "localhost", "REMOTE_USER": user,
    }


class TwoUpstreams(harness.Stack):
    def __init__(self, daemon_args):
        super().__init__(daemon_args=daemon_args)
        self.bare_port = harness.free_port()
        self.bare_socket = os.path.join(self.dir, "bare.socket")
        self.bare_proc = None

    def render(self, template, target, **words):
        super().render(template, target, **words)
        if template != "wsgated.conf.template":
            return
        bare_location = os.path.join(self.prefix, "bare-location.conf")
        super().render("wsgated-location.conf.template", bare_location,
                       **dict(words, SOCKET=self.bare_socket))
        server = ("server {\n    listen 127.0.0.1:%d;\n"
                  "    server_name localhost;\n    include %s;\n}\n"
                  % (self.bare_port, bare_location))
        with open(target) as f:
            text = f.read()
        slot = INCLUDE_SLOT % self.prefix
        if slot not in text:
            raise RuntimeError("nginx template lost its include slot " + slot)
        with open(target, "w") as f:
            f.write(text.replace(slot, slot + "\n" + server))

    def start_bare(self, build_dir, reply):
        reply_file = os.path.join(self.dir, "bare-reply.bin")
        with open(reply_file, "wb") as f:
            f.write(reply)
        self.bare_proc = subprocess.Popen(
            [BARE_BIN(build_dir), self.bare_socket, reply_file],
            stdout=subprocess.PIPE, text=True)
        line = self.bare_proc.stdout.readline()
        if not line.startswith("listening"):
            raise RuntimeError("bare_responder did not start")

    @property
    def bare_pid(self):
        return self.bare_proc.pid

    def close(self):
        try:
            if self.bare_proc is not None and self.bare_proc.poll() is None:
                self.bare_proc.terminate()
                self.bare_proc.wait(timeout=harness.START_LIMIT_S)
        finally:
            self.bare_proc = None
            super().close()


def post(port, body, content_type, auth):
    conn = http.client.HTTPConnection("127.0.0.1", port,
                                      timeout=harness.START_LIMIT_S)
    try:
        conn.request("POST", "/wsgated", body=body, headers={
            "Content-Type": content_type, "Authorization": auth})
        reply = conn.getresponse()
        return reply.status, reply.read()
    finally:
        conn.close()


def check_same_answer(stack, body, content_type, auth):
    """Both servers must answer alike, or the comparison means nothing.
    Returns the HTTP status they answer with."""
    daemon = post(stack.port, body, content_type, auth)
    bare = post(stack.bare_port, body, content_type, auth)
    if daemon != bare:
        raise RuntimeError("daemon and bare answers differ:\n%r\n%r"
                           % (daemon, bare))
    if daemon[0] in (401, 403, 502, 504):
        raise RuntimeError("nginx did not reach the daemon: %r" % (daemon,))
    return daemon[0]
