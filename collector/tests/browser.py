"""Drives a headless Chromium through its debugging pipe."""
import json
import os
import subprocess


class Browser:
    def __init__(self, folder):
        to_browser, self.output = os.pipe()
        self.input, from_browser = os.pipe()
        self.number, self.received = 0, b""
        # The shell puts the pipe's ends where the browser looks for them.
        self.process = subprocess.Popen(
            ["bash", "-c", f'exec "$@" 3<&{to_browser} 4>&{from_browser}', "bash", "chromium", "--headless",
             "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--remote-debugging-pipe", "--no-first-run",
             f"--user-data-dir={folder}", "about:blank"],
            pass_fds=(to_browser, from_browser), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(to_browser)
        os.close(from_browser)
        self.session = None
        target = self.call("Target.createTarget", url="about:blank")["targetId"]
        self.session = self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        self.call("Page.enable")
        self.call("Page.setLifecycleEventsEnabled", enabled=True)

    def call(self, method, **parameters):
        self.number += 1
        message = {"id": self.number, "method": method, "params": parameters}
        if self.session:
            message["sessionId"] = self.session
        os.write(self.output, json.dumps(message).encode() + b"\0")
        return self.wait(lambda answer: answer.get("id") == self.number)["result"]

    def wait(self, is_wanted):
        message = {}
        while not is_wanted(message):
            while b"\0" not in self.received:
                block = os.read(self.input, 1 << 20)
                assert block, "the browser has ended"
                self.received += block
            text, _, self.received = self.received.partition(b"\0")
            message = json.loads(text)
        return message

    def open(self, url, width=1280, scripts=True):
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=900, deviceScaleFactor=1, mobile=False)
        self.call("Emulation.setScriptExecutionDisabled", value=not scripts)
        loader = self.call("Page.navigate", url=url)["loaderId"]
        self.wait(lambda message: message.get("params", {}).get("loaderId") == loader and
                  message["params"].get("name") == "load")

    def evaluate(self, expression):
        answer = self.call("Runtime.evaluate", expression=expression, returnByValue=True)
        assert "exceptionDetails" not in answer, answer
        return answer["result"].get("value")

    def close(self):
        # A killed browser's helpers would still write into its folder while the test removes it.
        self.session = None
        self.call("Browser.close")
        self.process.wait(60)
        os.close(self.input)
        os.close(self.output)
