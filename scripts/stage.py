"""What the scripts that measure recordings set up: a virtual display, and a sound server without hardware."""

import contextlib
import os
import pathlib
import subprocess
import time

# Where scripts/setup unpacks a sound server if the system has none.
os.environ["PATH"] += f":{pathlib.Path(__file__).resolve().parent.parent}/build/sound-server"


@contextlib.contextmanager
def virtual_display(size):
    """An X server of its own; gives its name and its process."""
    reader, writer = os.pipe()
    server = subprocess.Popen(
        ["Xvfb", "-displayfd", str(writer), "-screen", "0", size + "x24", "-dpi", "96", "-noreset", "-nolisten", "tcp"],
        pass_fds=[writer], stderr=subprocess.DEVNULL)
    os.close(writer)
    try:
        with os.fdopen(reader) as lines:
            number = lines.readline().strip()
        yield f":{number}", server
    finally:
        server.terminate()
        server.wait()


@contextlib.contextmanager
def sound_server(folder, microphone_hears):
    """An output "sys", which is the default, another one "micfeed", and a default microphone that hears one of them;
    gives the variables by which a client finds the server."""
    runtime = pathlib.Path(folder) / "runtime"
    runtime.mkdir(mode=0o700)
    environment = {"HOME": str(folder), "XDG_RUNTIME_DIR": str(runtime), "PULSE_RUNTIME_PATH": str(runtime / "pulse")}
    modules = ["module-native-protocol-unix", "module-null-sink sink_name=sys rate=48000 channels=2 norewinds=1",
               "module-null-sink sink_name=micfeed rate=48000 channels=1 norewinds=1",
               f"module-remap-source source_name=mic master={microphone_hears}.monitor channels=1"]
    words = [word for module in modules for word in ("-L", module)]
    server = subprocess.Popen(["pulseaudio", "-n", "--daemonize=no", "--exit-idle-time=-1", "--use-pid-file=no",
                               "--log-level=error", *words], env={**os.environ, **environment})
    try:
        for setting in (["set-default-sink", "sys"], ["set-default-source", "mic"]):
            while subprocess.run(["pactl", *setting], env={**os.environ, **environment},
                                 stderr=subprocess.DEVNULL).returncode:
                time.sleep(0.05)
        yield environment
    finally:
        server.terminate()
        server.wait()
