"""A page in headless Chromium, driven over a pipe by its DevTools protocol: no library, no port."""

import base64
import json
import os
import subprocess
import tempfile


class Browser:
    """One page. What it logs, throws and asks the network for is kept in `complaints` and `requests`.

    Nothing can be reached: the proxy refuses and the resolver finds nothing. Evaluating an expression
    is not bound by the page's own content security policy.
    """

    def __init__(self, program):
        self.profile = tempfile.TemporaryDirectory(prefix="page-", ignore_cleanup_errors=True)
        toBrowser, self.out = os.pipe()
        self.incoming, fromBrowser = os.pipe()

        # The browser reads commands from descriptor 3 and answers on 4.
        def takeFour():
            high = [os.dup2(fd, fd + 100) for fd in (toBrowser, fromBrowser)]
            for fd, target in zip(high, (3, 4)):
                os.dup2(fd, target)

        self.process = subprocess.Popen(
            [program, "--headless", "--no-sandbox", "--disable-gpu", "--no-first-run",
             "--disable-dev-shm-usage", "--hide-scrollbars", "--disable-background-networking",
             "--proxy-server=127.0.0.1:9", "--proxy-bypass-list=<-loopback>",
             "--host-resolver-rules=MAP * ~NOTFOUND", f"--user-data-dir={self.profile.name}",
             "--remote-debugging-pipe"],
            preexec_fn=takeFour, close_fds=False, stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL)
        os.close(toBrowser)
        os.close(fromBrowser)
        self.buffer = b""
        self.number = 0
        self.session = None
        self.complaints = []
        self.requests = []
        self.loaded = False
        target = self.send("Target.createTarget", url="about:blank")["targetId"]
        self.session = self.send("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Log", "Network"):
            self.send(domain + ".enable")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        os.close(self.out)
        try:
            self.process.wait(10)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
        os.close(self.incoming)
        self.profile.cleanup()

    def receive(self):
        while b"\0" not in self.buffer:
            chunk = os.read(self.incoming, 1 << 16)
            if not chunk:
                raise RuntimeError("the browser is gone")
            self.buffer += chunk
        message, self.buffer = self.buffer.split(b"\0", 1)
        message = json.loads(message)
        self.note(message.get("method"), message.get("params", {}))
        return message

    def note(self, method, params):
        if method == "Runtime.exceptionThrown":
            self.complaints.append(params["exceptionDetails"]["text"])
        elif method == "Runtime.consoleAPICalled":
            self.complaints.append(str([each.get("value") for each in params["args"]]))
        elif method == "Log.entryAdded":
            self.complaints.append(params["entry"]["text"])
        elif method == "Network.requestWillBeSent":
            self.requests.append(params["request"]["url"])
        elif method == "Page.loadEventFired":
            self.loaded = True

    def send(self, method, **params):
        self.number += 1
        message = {"id": self.number, "method": method, "params": params}
        if self.session:
            message["sessionId"] = self.session
        os.write(self.out, json.dumps(message).encode() + b"\0")
        while True:
            answer = self.receive()
            if answer.get("id") == self.number:
                if "error" in answer:
                    raise RuntimeError(f"{method}: {answer['error']}")
                return answer["result"]

    def open(self, path, script=True):
        """Loads a file and waits for it."""
        self.send("Emulation.setScriptExecutionDisabled", value=not script)
        self.loaded = False
        self.requests.clear()
        self.send("Page.navigate", url="file://" + os.path.abspath(path))
        while not self.loaded:
            self.receive()

    def ask(self, expression):
        """The value of a JavaScript expression in the page."""
        answer = self.send("Runtime.evaluate", expression=expression, returnByValue=True,
                           awaitPromise=True)
        if "exceptionDetails" in answer:
            raise RuntimeError(f"{expression}: {answer['exceptionDetails']}")
        return answer["result"].get("value")

    def press(self, key):
        text = {"Enter": "\r"}.get(key, key if len(key) == 1 else "")
        code = {"Enter": 13, "Tab": 9, "Escape": 27, "ArrowUp": 38, "ArrowDown": 40, "ArrowLeft": 37,
                "ArrowRight": 39, "Home": 36, "End": 35}.get(key, 0)
        for kind in ("keyDown", "keyUp"):
            self.send("Input.dispatchKeyEvent", type=kind, key=key, windowsVirtualKeyCode=code,
                      **({"text": text} if text and kind == "keyDown" else {}))

    def look(self, width, height, dark):
        """The size of the window and the scheme of colours."""
        self.send("Emulation.setDeviceMetricsOverride", width=width, height=height,
                  deviceScaleFactor=1, mobile=width < 600)
        self.send("Emulation.setEmulatedMedia", features=[
            {"name": "prefers-color-scheme", "value": "dark" if dark else "light"}])

    def picture(self, path):
        data = self.send("Page.captureScreenshot", format="png")["data"]
        with open(path, "wb") as file:
            file.write(base64.b64decode(data))
