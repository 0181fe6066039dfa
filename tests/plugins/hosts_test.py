# SPDX-License-Identifier: Apache-2.0
"""The plugins in other people's hosts: the lines and the configurations of plugins/README.md.

Environment: ARVESSA_PLUGIN, the file of the plugins, and as for commands.py.
"""

import os
import pathlib
import re
import subprocess

from commands import SPEECH, CommandTest, level, noise

PLUGIN = pathlib.Path(os.environ["ARVESSA_PLUGIN"])
FOLDER = pathlib.Path(__file__).resolve().parents[2] / "plugins"
LINES = re.search(r"```sh\n(.*?)```", (FOLDER / "README.md").read_text(encoding="utf-8"),
                  re.S).group(1).splitlines()
MICROPHONE = """context.objects = [ { factory = adapter args = {
  factory.name = support.null-audio-sink node.name = microphone
  media.class = Audio/Source/Virtual audio.position = [ %s ] } } ]"""
# A desktop's sound without desktop and sound card: $1 comes into the microphone while a program
# records from $3, at $4 Hz, to $2.
SESSION = """
waitFor() {
  for _ in {1..200}; do ! pw-link -io 2>&1 | grep -q "$1" || return 0; sleep 0.1; done
  echo "waited in vain for $1"; exit 1
}
trap 'kill $(jobs -p)' EXIT
played=$1 recorded=$2 name=$3 rate=$4; shift 4
pipewire & until [[ -S $XDG_RUNTIME_DIR/pipewire-0 ]]; do sleep 0.1; done
wireplumber & waitFor "$name:capture_MONO"; waitFor "capture.$name:input_$1"
pw-cat -r --target "$name" --channels 1 --rate "$rate" "$recorded" & recorder=$!
pw-cat -p --target 0 -P '{ node.name = player }' "$played" & player=$!
for channel; do
  waitFor "player:output_$channel"
  pw-link "player:output_$channel" "microphone:input_$channel"
done
wait $player
kill -INT $recorder
wait $recorder || :
"""
OUTPUTS = {  # of the lines, and of the command
    "clean.wav": (48000, "engine", "noisy.wav"),
    "no_agc.wav": (48000, "engine", "noisy.wav", "--no-agc"),
    "voice.wav": (8000, "enhance", "pair.wav"),
    "voice_no_agc.wav": (8000, "enhance", "pair.wav", "--no-agc"),
}


class Hosts(CommandTest):
    def setUp(self):
        super().setUp()
        os.environ["LADSPA_PATH"] = str(PLUGIN.parent)
        os.environ["GST_REGISTRY"] = "registry"

    def run_here(self, line, code=0):
        done = subprocess.run(["bash", "-c", line], cwd=self.directory, timeout=100, text=True,
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT)
        self.assertEqual(done.returncode == 0, code == 0, f"{line}\n{done.stdout}")
        return done.stdout

    def check_lines(self, host):
        speech = "noisy.wav"
        self.run_command("scene", SPEECH, "--rate", 48000, "-o", speech)
        self.write("noisy.wav", [self.read("noisy.wav", 48000, channels=2)[0]], 48000)
        self.run_command("scene", SPEECH, "--rate", 8000, "-o", "pair.wav")
        lines = [line for line in LINES if line.startswith(host)]
        self.assertTrue(lines, host)
        for line in lines:
            name = next(name for name in OUTPUTS if re.search(rf"\b{name}\b", line))
            rate, subcommand, source, *options = OUTPUTS[name]
            self.run_here(f"rm -f {name}; {line}")
            delay = 0 if "latency=1" in line else rate // 100
            options += [] if delay == 0 else ["--keep-delay"]
            self.run_command(subcommand, source, "-o", "expected.wav", *options)
            found = self.read(name, rate)
            self.assertGreater(len(found), 4 * rate)
            expected = [0] * delay + self.read("expected.wav", rate)
            self.assertEqual(found, expected[:len(found)], line)

        self.write("noisy.wav", [noise(44100)], 44100)
        line = re.sub(r"aresample=48000,|rate 48000 |audio/x-raw,rate=48000 !", "", lines[0])
        # A host that was refused need not end: GStreamer's once stood still.
        limited = f"rm -f clean.wav; timeout --kill-after 5 20 {line}"
        self.assertIn("vorn works at 8000", self.run_here(limited, code=1))

    def test_applyplugin(self):
        self.check_lines("applyplugin")

    def test_sox(self):
        self.check_lines("sox")

    def test_ffmpeg(self):
        self.check_lines("ffmpeg")

    def test_gstreamer(self):
        self.check_lines("gst-launch-1.0")

    def test_pipewire(self):
        """Noise into the microphone: what programs record from the new one has lost most of it."""
        for configuration, name, rate, position in (
                ("vorn.conf", "clean_microphone", 48000, "MONO"),
                ("arvessa.conf", "clean_voice", 8000, "FL FR")):
            channels = position.split()
            self.write("noise.wav", [noise(6 * rate, seed) for seed in range(len(channels))], rate)
            text = (FOLDER / "pipewire" / configuration).read_text(encoding="utf-8")
            self.assertIn("/usr/lib/ladspa/arvessa.so", text)
            text = text.replace("/usr/lib/ladspa/arvessa.so", str(PLUGIN))
            home = pathlib.Path(self.directory, configuration + ".d")
            (home / "pipewire/pipewire.conf.d").mkdir(parents=True)
            (home / "pipewire/pipewire.conf.d/a.conf").write_text(MICROPHONE % position)
            # The gain of a stream without voice would hide what was suppressed.
            (home / "pipewire/pipewire.conf.d/b.conf").write_text(
                text.replace('"No AGC" = 0', '"No AGC" = 1'))
            environment = {**os.environ, "HOME": str(home), "XDG_CONFIG_HOME": str(home),
                           "XDG_RUNTIME_DIR": str(home), "XDG_STATE_HOME": str(home)}
            done = subprocess.run(["dbus-run-session", "bash", "-euc", SESSION, "-", "noise.wav",
                 "recorded.wav", name, str(rate), *channels],
                env=environment, timeout=100, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
            self.assertEqual(done.returncode, 0, done.stdout.decode())
            recorded = self.read("recorded.wav", rate)
            tenth = rate // 10
            levels = [level(recorded[i:i + tenth]) for i in range(0, len(recorded) - tenth, tenth)]
            sounding = [found for found in levels if found > -80]
            self.assertGreater(len(sounding), 30, levels)
            residue = sum(sounding[-11:-1]) / 10
            print(f"{configuration}: {residue:.1f} dBFS of {level(noise(rate)):.1f}")
            self.assertLess(residue, level(noise(rate)) - 8)
