"""A headless Chromium, driven through WebDriver (https://www.w3.org/TR/webdriver2/)."""
import json
import re
import subprocess
import urllib.request

OPTIONS = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--no-first-run"]


class Browser:
    def __init__(self):
        self.driver = subprocess.Popen(["chromedriver", "--port=0"], stdout=subprocess.PIPE, text=True)
        port = next(found[1] for line in self.driver.stdout if (found := re.search(r"success.* port (\d+)", line)))
        self.address = f"http://127.0.0.1:{port}/session"
        options = {"browserName": "chrome", "goog:chromeOptions": {"args": OPTIONS}}
        self.address += "/" + self.call("", capabilities={"alwaysMatch": options})["sessionId"]

    def call(self, command, **parameters):
        with urllib.request.urlopen(self.address + command, json.dumps(parameters).encode()) as answer:
            return json.load(answer)["value"]

    def set(self, command, **parameters):
        self.call("/goog/cdp/execute", cmd=command, params=parameters)

    def open(self, url, width=1280, scripts=True):
        self.set("Emulation.setDeviceMetricsOverride", width=width, height=900, deviceScaleFactor=1, mobile=False)
        self.set("Emulation.setScriptExecutionDisabled", value=not scripts)
        self.call("/url", url=url)

    def evaluate(self, expression):
        return self.call("/execute/sync", script="return " + expression, args=[])

    def close(self):
        with urllib.request.urlopen(urllib.request.Request(self.address, method="DELETE")):
            self.driver.terminate()
        self.driver.communicate()
