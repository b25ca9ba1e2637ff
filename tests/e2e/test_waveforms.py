"""Waveform records through nginx: getWaveformConfig and getWaveformData on
the demo's records (wavectl) and on the public sample records, with raw
SOAP and with zeep; their failures, hostile URLs and folders; and nginx's
read-only download of the same folder.

What each failure answers in detail is the unit tests' (tests/waveforms);
these check what the wire carries and that nothing outside the folder is
ever read, by the daemon or by nginx.
"""

import os
import shutil
import stat
import subprocess
import unittest

from core_calls import Answer, StackTestCase, request_body

SHARED = os.path.join(os.environ.get("SOURCE_DIR", ""), "tests", "comtrade",
                      "data", "shared")
FAULT = "meter1-fault-2026-11-18"
TRIP = "breaker1-trip-2026-11-19"
URL_PREFIX = "http://127.0.0.1/wsgated/waveforms/"
BAD_URL = "? 33 Argument Invalid/Not Supported : Cannot parse URL"
NO_CHANNEL = "? 33 Argument Invalid/Not Supported : No such Analog Channel"
NO_DATA = "? 22 No Data Available : Failed to parse COMTRADE data"
NO_HEADER = "? 22 No Data Available : Failed to parse COMTRADE header"
SECRET = "not for waveform clients"
# The public samples: record URL, an analog channel, the samples declared.
SAMPLES = [("sample_ascii", "IA", 40), ("sample_ascii.cff", "IB", 40),
           ("sample_ascii_utf-8", "IC", 40), ("sample_bin", "VA", 5),
           ("sample_iso8859-1", "3I0", 40)]


class WaveformCalls(StackTestCase):
    prefix = "nsqv"

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.folder = cls.stack.paths["WSGATED_WAVEFORM_DIR"]
        subprocess.run([os.environ["WAVECTL_BIN"], "demo", cls.folder],
                       check=True, capture_output=True)
        # A record and a file outside the folder, for the escapes to aim at.
        cls.outside = os.path.join(cls.stack.dir, "outside")
        for ext in (".cfg", ".dat", ".hdr"):
            shutil.copy(os.path.join(cls.folder, FAULT + ext),
                        cls.outside + ext)
        with open(os.path.join(cls.stack.dir, "secret.txt"), "w") as f:
            f.write(SECRET)
        os.symlink(os.path.join(cls.stack.dir, "secret.txt"),
                   os.path.join(cls.folder, "secret.hdr"))
        os.mkfifo(os.path.join(cls.folder, "fifo.dat"))

    def place(self, name, data):
        path = os.path.join(self.folder, name)
        with open(path, "wb" if isinstance(data, bytes) else "w") as f:
            f.write(data)
        self.addCleanup(os.remove, path)

    # The responses' element names are shorter than the operations'.
    def config(self, url, **kwargs):
        body = request_body("getWaveformConfig", {"options": "", "url": url},
                            "nsqv")
        answer = Answer("getWaveConfig", self.stack.soap(body, **kwargs))
        self.assertIsNotNone(answer.response, answer.text)
        return answer.response

    def data(self, url, channel, **kwargs):
        request = "".join("<%s>%s</%s>" % (k, v, k) for k, v in
                          (("url", url), ("channel", channel)) if v is not None)
        reply = self.stack.soap("<nsqv:getWaveformData><request>%s</request>"
                                "</nsqv:getWaveformData>" % request, **kwargs)
        answer = Answer("getWaveData", reply)
        self.assertIsNotNone(answer.response, answer.text)
        return answer.response

    def test_the_demo_records_in_both_soap_versions(self):
        for version in (12, 11):
            config = self.config(URL_PREFIX + FAULT, version=version,
                                 user="viewer")
            self.assertEqual(["OK", "Meter1", "2048", "320"],
                             [config.findtext(f) for f in (
                                 "result", "deviceID", "numberSamples",
                                 "triggerIndex")])
            self.assertEqual(["VA", "VB", "VC", "IA", "IB", "IC", "IN"],
                             [s.text for s in config.find("analogChannelNames")])
            data = self.data(TRIP, "IB", version=version, user="viewer")
            self.assertEqual(("OK", "4000", 1600), (
                data.findtext("result"), data.findtext("samplingRate"),
                len(data.findall("data"))))

    def test_zeep_reads_both_operations(self):
        import requests
        import zeep
        from zeep.transports import Transport
        session = requests.Session()
        session.auth = ("viewer", "viewer-demo")
        client = zeep.Client("http://127.0.0.1:%d/wsgated?wsdl"
                             % self.stack.port,
                             transport=Transport(session=session))
        config = client.service.getWaveformConfig(options="", url=TRIP + ".cfg")
        self.assertEqual(("OK", "TRIP", 320, ["TRIP", "52a", "52b"]),
                         (config.result, config.triggerChannel,
                          config.triggerIndex,
                          config.digitalChannelNames.string))
        data = client.service.getWaveformData(request=dict(
            options="", url=URL_PREFIX + FAULT, channel="VA"))
        self.assertEqual(("OK", 320, 1600), (data.result, data.triggerIndex,
                                             len(data.data)))
        # 2026-11-19 06:41:52.5 UTC, the trip 80 ms later, in microseconds.
        self.assertEqual((1795070512500000, 1795070512580000),
                         (config.startTime, config.triggerTime))

    def test_the_public_samples_are_read_and_described_once_headed(self):
        for name in os.listdir(SHARED):
            if not name.endswith((".md", "LICENSE")):
                self.place(name, open(os.path.join(SHARED, name), "rb").read())
        # This configuration goes with the ASCII record's data.
        self.place("sample_ascii_utf-8.dat",
                   open(os.path.join(SHARED, "sample_ascii.dat"), "rb").read())
        for url, channel, count in SAMPLES:
            with self.subTest(url):
                data = self.data(url, channel)
                self.assertEqual("OK", data.findtext("result"))
                self.assertEqual(count, len(data.findall("data")))
                self.assertEqual(NO_HEADER, self.config(url).findtext("result"))
                self.add_header(url)
                config = self.config(url)
                self.assertEqual("OK", config.findtext("result"))
                self.assertEqual("Sample " + url, config.findtext("eventDescr"))
                self.assertIn(channel, [s.text for s in
                                        config.find("analogChannelNames")])

    def add_header(self, url):
        text = "Event: Sample %s\n" % url
        if not url.endswith(".cff"):
            self.place(url + ".hdr", text)
            return
        with open(os.path.join(self.folder, url)) as f:
            combined = f.read()
        with open(os.path.join(self.folder, url), "w") as f:
            f.write(combined.replace("--- file type: HDR ---\n",
                                     "--- file type: HDR ---\n" + text))

    def test_channels_are_analog_and_exact(self):
        for channel in ("ia", "VA sag", "", None):
            with self.subTest(channel):
                self.assertEqual(NO_CHANNEL, self.data(FAULT, channel)
                                 .findtext("result"))

    def test_escapes_from_the_folder_answer_33_and_read_nothing(self):
        os.symlink(self.outside + ".cfg",
                   os.path.join(self.folder, "linked.cfg"))
        self.addCleanup(os.remove, os.path.join(self.folder, "linked.cfg"))
        for url in ("../outside", "%2e%2e/outside", "sub/../../outside",
                    self.outside, "file://" + self.outside, "linked",
                    "http://h/wsgated/waveforms/../../outside",
                    "http://h/elsewhere/outside", "", "x" * (1 << 20)):
            with self.subTest(url[:60]):
                self.assertEqual(BAD_URL, self.config(url).findtext("result"))
                self.assertEqual(BAD_URL,
                                 self.data(url, "IA").findtext("result"))
        self.assertServedNormally()

    def test_absent_fields_answer_a_result(self):
        for body in ("<nsqv:getWaveformData/>",
                     "<nsqv:getWaveformData><request/></nsqv:getWaveformData>",
                     "<nsqv:getWaveformConfig/>"):
            with self.subTest(body):
                kind = "getWaveData" if "Data" in body else "getWaveConfig"
                answer = Answer(kind, self.stack.soap(body))
                self.assertEqual(BAD_URL, answer.response.findtext("result"))

    def test_broken_and_hostile_record_files_answer_22(self):
        with open(os.path.join(self.folder, FAULT + ".cfg")) as f:
            config = f.read()
        with open(os.path.join(self.folder, FAULT + ".dat"), "rb") as f:
            self.place("short.dat", f.read()[:-1])
        for name in ("short", "device"):
            self.place(name + ".cfg", config)
        os.mkfifo(os.path.join(self.folder, "fifo.cfg"))
        os.mknod(os.path.join(self.folder, "device.dat"),
                 0o600 | stat.S_IFCHR, os.makedev(1, 5))  # /dev/zero's
        for name in ("fifo.cfg", "device.dat"):
            self.addCleanup(os.remove, os.path.join(self.folder, name))
        for url in ("short", "fifo", "device"):
            with self.subTest(url):
                self.assertEqual(NO_DATA, self.data(url, "IA")
                                 .findtext("result"))
                self.assertEqual(NO_DATA, self.config(url).findtext("result"))
        self.assertServedNormally()

    # -- nginx's download of the same folder, to every user it knows --
    def get(self, path, **kwargs):
        return self.stack.request("GET", "/wsgated/waveforms/" + path,
                                  **kwargs)

    def test_every_user_lists_and_downloads_records(self):
        for user in ("viewer", "operator", "admin", "guest"):
            with self.subTest(user):
                listing = self.get("", user=user)
                self.assertEqual(200, listing.status)
                self.assertIn(FAULT + ".cfg", listing.text)
                record = self.get(TRIP + ".dat", user=user)
                with open(os.path.join(self.folder, TRIP + ".dat"), "rb") as f:
                    self.assertEqual(f.read(), record.body)
        self.assertEqual(401, self.get(FAULT + ".cfg", user=None).status)

    def test_nothing_is_written_and_nothing_outside_is_served(self):
        for method in ("PUT", "DELETE", "POST"):
            self.assertEqual(403, self.stack.request(
                method, "/wsgated/waveforms/new.cfg", body=b"x").status)
        self.assertFalse(os.path.exists(os.path.join(self.folder, "new.cfg")))
        for path in ("../../secret.txt", "%2e%2e/%2e%2e/secret.txt",
                     "..%2f..%2fsecret.txt", "secret.hdr", "fifo.dat"):
            with self.subTest(path):
                reply = self.get(path)
                self.assertNotEqual(200, reply.status)
                self.assertNotIn(SECRET, reply.text)


if __name__ == "__main__":
    unittest.main()
