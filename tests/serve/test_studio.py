"""`zarn studio` from the outside: who gets in, what is given away, what a file cannot do."""

import http.client
import json
import os
import re
import subprocess
import unittest

from support import ZARN, Case


class Studio(Case):
    def setUp(self):
        super().setUp()
        self.model()
        self.start(self.folder / "small.json")

    def start(self, place):
        self.process = subprocess.Popen([ZARN, "studio", str(place), "--no-open"], stdout=subprocess.PIPE,
                                        stderr=subprocess.DEVNULL, text=True)
        self.addCleanup(self.end, self.process)
        address = re.fullmatch(r"http://127\.0\.0\.1:(\d+)/#token=([0-9a-f]{32})\n", self.process.stdout.readline())
        self.assertIsNotNone(address)
        self.port, self.token = int(address[1]), address[2]

    @staticmethod
    def end(process):
        process.terminate()
        process.wait()
        process.stdout.close()

    def request(self, method, path, body=None, host=None, token=True, **headers):
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=30)
        self.addCleanup(connection.close)
        connection.putrequest(method, path, skip_host=True)
        connection.putheader("Host", host or f"127.0.0.1:{self.port}")
        if token:
            connection.putheader("Authorization", f"Bearer {self.token if token is True else token}")
        for key, value in headers.items():
            connection.putheader(key, value)
        data = (body or "").encode()
        connection.putheader("Content-Length", str(len(data)))
        connection.endheaders(data)
        return connection.getresponse()

    def rpc(self, method, **params):
        answer = self.request("POST", "/rpc", json.dumps({"jsonrpc": "2.0", "id": 1, "method": method, "params": params}))
        self.assertEqual(answer.status, 200)
        return json.loads(answer.read())

    def test_requests_are_answered(self):
        self.assertEqual(self.rpc("hello")["result"]["file"], "small.json")
        self.assertEqual(self.rpc("nothing")["error"]["code"], -32601)
        self.assertEqual(self.rpc("view")["result"]["level"], "0")

    def test_the_token_is_needed(self):
        for token in (False, "0" * 32, self.token[:-1], self.token + "0", self.token.upper() + " "):
            for method, path in (("POST", "/rpc"), ("GET", "/events")):
                answer = self.request(method, path, "{}", token=token)
                self.assertEqual(answer.status, 401, (token, path))
                self.assertNotIn(self.token, answer.read().decode())

    def test_other_hosts_and_origins_are_refused(self):
        for host in ("evil.example", f"evil.example:{self.port}", "127.0.0.1", f"127.0.0.1.evil.example:{self.port}"):
            self.assertEqual(self.request("POST", "/rpc", "{}", host=host).status, 403, host)
        for origin in ("http://evil.example", "null", f"https://127.0.0.1:{self.port}", f"http://127.0.0.1:{self.port + 1}"):
            self.assertEqual(self.request("POST", "/rpc", "{}", Origin=origin).status, 403, origin)
        self.assertEqual(self.request("POST", "/rpc", "{}", Origin=f"http://127.0.0.1:{self.port}").status, 200)

    def test_only_this_machine_is_listened_to(self):
        found = False
        for name in ("/proc/net/tcp", "/proc/net/tcp6"):
            if not os.path.exists(name):
                continue
            with open(name, encoding="ascii") as table:
                lines = table.readlines()[1:]
            for line in lines:
                place, state = line.split()[1], line.split()[3]
                if state == "0A" and int(place.rsplit(":", 1)[1], 16) == self.port:
                    self.assertEqual(place.rsplit(":", 1)[0], "0100007F")
                    found = True
        self.assertTrue(found)

    def test_pages_come_with_a_policy_and_from_their_folder_only(self):
        answer = self.request("GET", "/", token=False)
        policy = answer.getheader("Content-Security-Policy")
        self.assertEqual(answer.status, 200)
        self.assertIn("default-src 'none'", policy)
        self.assertNotIn("unsafe", policy)
        self.assertEqual(answer.getheader("X-Content-Type-Options"), "nosniff")
        self.assertNotIn(self.token, answer.read().decode())
        for path in ("/../../../etc/passwd", "/%2e%2e/%2e%2e/%2e%2e/%2e%2e/etc/passwd", "//etc/passwd", "/..%2f..%2fetc/passwd"):
            found = self.request("GET", path, token=False)
            self.assertIn(found.status, (400, 404), path)
            self.assertNotIn("root:", found.read().decode())

    def test_nothing_outside_of_the_folder_is_opened(self):
        os.symlink("/etc/passwd", self.folder / "link.json")
        os.symlink("/etc", self.folder / "etc")
        for file in ("../x.json", "/etc/passwd", "link.json", "etc/passwd", "etc/../../etc/passwd", ".", "", "a\0b"):
            self.assertEqual(self.rpc("open", file=file)["error"]["code"], 2, file)
            self.assertEqual(self.rpc("save", file=file)["error"]["code"], 2, file)
            self.assertEqual(self.rpc("workspace.read", file=file)["error"]["code"], 2, file)
        self.assertEqual([one["file"] for one in self.rpc("files")["result"]["files"]], ["small.json"])

    def test_references_out_of_the_folder_are_not_read(self):
        outside = self.folder.parent / (self.folder.name + "-outside.json")
        outside.write_text('{"blocks": [{"constant": {"name": "secret", "id": 3000000000000009}}], "links": []}')
        self.addCleanup(outside.unlink)
        model = {"blocks": [{"refsys": {"name": "r", "id": 3000000000000001, "path": "../" + outside.name}}], "links": []}
        (self.folder / "ref.json").write_text(json.dumps(model))
        self.rpc("open", file="ref.json")
        view = self.rpc("view")["result"]
        self.assertEqual(view["blocks"][0]["state"], "unread")
        self.assertNotIn("secret", json.dumps([view, self.rpc("findings", wait=True), self.rpc("picture")]))

    def test_names_are_texts(self):
        name = "<script>alert(1)</script>\"'&"
        self.rpc("edit", operations=[{"op": "rename", "block": "3000000000000001", "name": name}])
        view = self.rpc("view")["result"]
        self.assertEqual(view["blocks"][0]["name"], name)
        self.assertNotIn("<script>", self.rpc("picture")["result"]["svg"])

    def test_opening_executes_nothing(self):
        mark = self.folder / "mark"
        model = {"blocks": [{"constant": {"name": "c", "id": 3000000000000001, "expression": f"open({str(mark)!r}, 'w')"}},
                            {"display": {"name": "d", "id": 3000000000000002}}],
                 "links": [{"srcId": 3000000000000001, "dstId": 3000000000000002}]}
        (self.folder / "bad.json").write_text(json.dumps(model))
        (self.folder / "workspace.py").write_text(f"open({str(mark)!r}, 'w')\n")
        self.rpc("open", file="bad.json")
        for method in ("view", "findings", "picture", "evaluate", "run.start"):
            self.rpc(method, **({"wait": True} if method == "findings" else {}))
        self.assertFalse(mark.exists())
        named = self.rpc("evaluate")["result"]
        self.assertEqual((named["scripts"], named["count"]), (["workspace.py"], 1))
        self.rpc("evaluate", allow=True)
        self.rpc("findings", wait=True)
        self.assertTrue(mark.exists())

    def test_what_is_executed_has_no_hold_of_the_sockets(self):
        (self.folder / "workspace.py").write_text(
            "import os\n"
            "def is_socket(n):\n"
            "    try:\n"
            "        return os.readlink(f'/proc/self/fd/{n}').startswith('socket')\n"
            "    except OSError:\n"
            "        return False\n"
            "k = sum(is_socket(n) for n in range(256))\n")
        self.rpc("edit", operations=[{"op": "set_parameter", "block": "3000000000000001", "key": "expression", "value": "k"}])
        self.rpc("evaluate", allow=True)
        answer = self.rpc("value", block="3000000000000001", key="expression")["result"]
        self.assertEqual(answer["value"], "0", answer)

    def test_notifications_come_as_events(self):
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=30)
        self.addCleanup(connection.close)
        connection.request("GET", "/events", headers={"Authorization": f"Bearer {self.token}"})
        answer = connection.getresponse()
        self.assertEqual(answer.getheader("Content-Type"), "text/event-stream")
        self.rpc("edit", operations=[{"op": "rename", "block": "3000000000000001", "name": "x"}])
        event = b""
        while b"changed" not in event:
            event = answer.fp.readline()
        self.assertTrue(event.startswith(b"data: {"))
        self.assertEqual(json.loads(event[6:])["params"]["revision"], 1)


if __name__ == "__main__":
    unittest.main()
