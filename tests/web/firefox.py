# SPDX-License-Identifier: Apache-2.0
"""Firefox for Selenium where there is no geckodriver, as on Debian: over Marionette, the protocol that
geckodriver itself speaks to Firefox."""
import json
import pathlib
import socket
import subprocess
import time

from selenium.webdriver.remote.file_detector import UselessFileDetector
from selenium.webdriver.remote.remote_connection import RemoteConnection
from selenium.webdriver.remote.webdriver import WebDriver
from selenium.webdriver.common.options import ArgOptions

PORT = 2828
NAMES = {  # other than Selenium's
    "get": "Navigate", "clickElement": "ElementClick", "sendKeysToElement": "ElementSendKeys",
    "w3cExecuteScript": "ExecuteScript"}


class Options(ArgOptions):
    default_capabilities = {}


class Marionette(RemoteConnection):
    def __init__(self):
        super().__init__(f"http://127.0.0.1:{PORT}")
        for _ in range(300):
            try:
                self.socket = socket.create_connection(("127.0.0.1", PORT))
                break
            except ConnectionRefusedError:
                time.sleep(0.1)
        self.stream = self.socket.makefile("rb")
        self.read()

    def read(self):
        length = b""
        while not length.endswith(b":"):
            length += self.stream.read(1)
        return json.loads(self.stream.read(int(length[:-1])))

    def send(self, name, parameters):
        message = json.dumps([0, 1, name, parameters]).encode()
        self.socket.sendall(b"%d:%s" % (len(message), message))
        _, _, error, result = self.read()
        if error:
            raise RuntimeError(f"{name}: {error['error']}: {error['message']}")
        return result

    def execute(self, command, params):
        if command.startswith("findChild"):
            params["element"] = params.pop("id")
            command = command.replace("Child", "")
        name = NAMES.get(command, command[0].upper() + command[1:])
        result = self.send("WebDriver:" + name, params)
        return result if isinstance(result, dict) else {"value": result}


class Firefox(WebDriver):
    def __init__(self, program, profile, preferences):
        profile = pathlib.Path(profile)
        profile.mkdir()
        (profile / "user.js").write_text("".join(
            f"user_pref({json.dumps(k)}, {json.dumps(v)});\n" for k, v in preferences.items()))
        self.process = subprocess.Popen(
            [program, "--headless", "--marionette", "--remote-allow-system-access", "--no-remote",
             "--profile", str(profile)], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        super().__init__(command_executor=Marionette(), options=Options(),
                         file_detector=UselessFileDetector())

    # Marionette's scripts do not see the page's own constants; a script in the page does.
    def run(self, code, *arguments):
        return self.execute_script("""
            const [code, ...rest] = arguments;
            const script = document.createElement('script');
            script.textContent = `globalThis.work = function () { ${code} }`;
            document.head.append(script);
            return window.work(...rest);""", code, *arguments)

    def set_preference(self, name, value):
        self.command_executor.send("Marionette:SetContext", {"value": "chrome"})
        self.execute_script("Services.prefs.setIntPref(arguments[0], arguments[1])", name, value)
        self.command_executor.send("Marionette:SetContext", {"value": "content"})

    def quit(self):
        self.process.terminate()
        self.process.wait()
