"""`scripts/bench export`: whole exports beside those of ffmpeg and MLT, from recordings made for it.

Three recordings of a virtual screen of 1920x1080 at 30 frames a second, in each of which the pointer goes to places and
clicks: busy (all of it moves), calm (400x300 of it move all the time), usual (somebody works on the demo's stage: has a
report made in the terminal, scrolls through it, and publishes it). Everybody makes the same video of them: on a backdrop
with a shadow, the corners round, the pointer drawn, zoomed in at the clicks. Ours is `quillant export`; the others have
backdrop and shadow as a picture. What counts is the time from start to end; the CPU seconds stand beside it.

  same        ffmpeg's filters, and x264 with our settings
  14M         ffmpeg's filters, and x264 as one would ask for it: veryfast, 14 Mbit/s
  MLT         melt with the second settings, once; corners not round, no pointer, and only the video is zoomed
  encode      ffmpeg encodes the finished frames, raw and in memory, with our settings: nothing else is done

Then the memory, for recordings that are four and eight times as long, too; a GIF beside ffmpeg's palette filters, and a
copy (`--plain`) beside `ffmpeg -c copy`, packet by packet.
"""

import contextlib
import os
import pathlib
import re
import shutil
import statistics
import subprocess
import tempfile
import threading
import time

from stage import virtual_display

BUILD = pathlib.Path(__file__).resolve().parent.parent / "build" / "release"
QUILLANT = BUILD / "quillant"
WIDTH, HEIGHT, RATE = 1920, 1080, 30
# The video on the canvas, and its corners, as our export has them with these options.
LOOK = ["--background", "sunrise", "--padding", "20", "--corner-radius", "12", "--shadow", "0.35"]
RATE_CHOICE = ["--frame-rate", str(RATE)]
FRAME = {"x": 106, "y": 60, "width": 1706, "height": 960, "radius": 36}
OUR_ENCODER = ["-c:v", "libx264", "-preset", "superfast", "-tune", "zerolatency", "-bf", "0", "-crf", "20", "-maxrate",
               "14M", "-bufsize", "14M", "-g", "120", "-pix_fmt", "yuv420p"]
RATE_ENCODER = ["-c:v", "libx264", "-preset", "veryfast", "-b:v", "14M", "-maxrate", "14M", "-bufsize", "14M", "-g",
                 "120", "-pix_fmt", "yuv420p"]
# What the hand does: after which part of the recording, where, and there with which button.
CLICKS = ((0.25, (400, 300), ["1"]), (0.3, (1300, 700), ["1"]))
WORK = ((0.1, (1480, 330), ["1"]), (0.2, (620, 640), ["--repeat", "7", "--delay", "100", "5"]), (0.05, (1034, 120), ["1"]),
        (0.1, (1176, 623), ["1"]))
MELT_SECONDS = 100  # it has been seen to stand still for ever
FFMPEG = ["ffmpeg", "-nostdin", "-loglevel", "error", "-y"]


def run(command, **options):
    """Seconds from start to end, CPU seconds, and peak memory in MB."""
    start = time.monotonic()
    child = subprocess.Popen([str(word) for word in command], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                             **options)
    _, status, usage = os.wait4(child.pid, 0)
    child.returncode = os.waitstatus_to_exitcode(status)
    if child.returncode:
        raise subprocess.CalledProcessError(child.returncode, command)
    return time.monotonic() - start, usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024


def medians(runs, *commands):
    """Of each command; they are run by turns."""
    results = [[run(command) for command in commands] for _ in range(runs)]
    return [[statistics.median(column) for column in zip(*own)] for own in zip(*results)]


def use_pointer(environment, seconds, steps):
    for at, (x, y), action in steps:
        time.sleep(seconds * at)
        for step in range(1, 21):
            subprocess.run(["xdotool", "mousemove", str(x - 200 + 10 * step), str(y - 60 + 3 * step)], env=environment,
                           check=True)
            time.sleep(0.02)
        subprocess.run(["xdotool", "click", *action], env=environment, check=True)


def clients_of(kind, environment):
    """What is on the screen, once it is there."""
    def start(*words, output=subprocess.DEVNULL):
        return subprocess.Popen([BUILD / words[0], *words[1:]], env=environment, stdout=output)

    if kind == "usual":
        stage = start("quillant-demo-stage", output=subprocess.PIPE)
        stage.stdout.readline()
        return [stage]
    still = start("quillant-animation", "still")
    time.sleep(0.3)
    return [still, start("quillant-animation", {"busy": "full", "calm": "region"}[kind], "--rate", str(RATE))]


def record(kind, path, seconds):
    with virtual_display(f"{WIDTH}x{HEIGHT}") as (display, _):
        environment = {**os.environ, "DISPLAY": display}
        clients = clients_of(kind, environment)
        hand = threading.Thread(target=use_pointer, args=(environment, seconds, WORK if kind == "usual" else CLICKS))
        hand.start()
        run([QUILLANT, "record", "--duration", seconds, "--output", path], env=environment)
        hand.join()
        for client in clients:
            client.terminate()
            client.wait()


def filters(frames):
    """What ffmpeg draws: 0 is the recording, 1 the backdrop, 2 the pointer."""
    x, y, width, height, radius = FRAME.values()
    corner = f"pow(max(0,max({radius}-X,X-{width}+{radius})),2)+pow(max(0,max({radius}-Y,Y-{height}+{radius})),2)"
    still = "eof_action=repeat"
    zoom = f"1+0.5*(1-cos(4*PI*min(1,on/{frames})))"
    return (f"[1]format=yuv420p[ground];[0]fps={RATE},scale={width}:{height}:flags=bicubic[video];"
            f"color=black:s={width}x{height}:d=0.04,format=gray,geq=lum='255*lte({corner},{radius * radius})'[corners];"
            f"[video][corners]alphamerge={still}[rounded];[ground][rounded]overlay={x}:{y}:{still}[a];"
            f"[a][2]overlay=x='W*(0.5+0.3*cos(1.5*t))':y='H*(0.5+0.3*sin(1.5*t))':{still},"
            f"zoompan=z='{zoom}':x='iw*0.6*(1-1/zoom)':y='ih*0.4*(1-1/zoom)':d=1:s={WIDTH}x{HEIGHT}:fps={RATE}[out]")


def ffmpeg_export(clip, folder, frames, encoder):
    return [*FFMPEG, "-i", clip, "-loop", "1", "-framerate", RATE, "-i", folder / "backdrop.png", "-i",
            folder / "pointer.png", "-filter_complex", filters(frames), "-map", "[out]", "-frames:v", frames, "-an",
            *encoder, folder / "peer.mp4"]


def melt_export(clip, folder, frames):
    x, y, width, height, _ = FRAME.values()
    last = frames - 1
    placed = f"{x} {y} {width} {height}"
    zoomed = f"{2 * x - WIDTH // 2} {2 * y - HEIGHT // 2} {2 * width} {2 * height}"
    return ["timeout", MELT_SECONDS, "melt", "-silent", "-profile", "atsc_1080p_30", folder / "backdrop.png", f"out={last}",
            "-track", clip, f"out={last}", "-transition", "affine", "a_track=0", "b_track=1", "fill=1",
            f"rect=0={placed};{frames // 2}={zoomed};{last}={placed}", "-consumer", f"avformat:{folder / 'melt.mp4'}",
            "vcodec=libx264", "preset=veryfast", "b=14M", "an=1", f"real_time=-{os.cpu_count()}"]


def frames_in(path):
    return int(subprocess.run(
        ["ffprobe", "-v", "error", "-select_streams", "v:0", "-count_packets", "-show_entries",
         "stream=nb_read_packets", "-of", "csv=p=0", path], capture_output=True, text=True, check=True
    ).stdout.strip().strip(","))


def packets(path):
    """A digest of every packet of every track, with its times."""
    return subprocess.run([*FFMPEG[:-1], "-i", path, "-map", "0", "-c", "copy", "-f", "framemd5", "-"],
                          capture_output=True, text=True, check=True).stdout.split("#stream#")[-1]


def compare_movies(clip, folder, runs, memory):
    subprocess.run([QUILLANT, "frame", clip, "--at", "0", "--zoom", "none", "--cursor", "none",
                    *LOOK, "--output", folder / "backdrop.png"], check=True, stdout=subprocess.DEVNULL)
    subprocess.run([*FFMPEG, "-f", "lavfi", "-i", "color=black:s=24x32:d=0.04", "-frames:v", "1", folder / "pointer.png"],
                   check=True)
    finished = folder / "finished.mp4"
    ours = [QUILLANT, "export", clip, "--output", finished, *LOOK, *RATE_CHOICE]
    run(ours)
    frames = frames_in(finished)
    with tempfile.TemporaryDirectory(dir="/dev/shm" if os.path.isdir("/dev/shm") else None) as raw:
        subprocess.run([*FFMPEG, "-i", finished, "-pix_fmt", "yuv420p", "-f", "rawvideo", f"{raw}/frames"], check=True)
        encode = [*FFMPEG, "-f", "rawvideo", "-pix_fmt", "yuv420p", "-s", f"{WIDTH}x{HEIGHT}", "-r", RATE, "-i",
                  f"{raw}/frames", *OUR_ENCODER, folder / "encoded.mp4"]
        commands = {"ours": ours, "same": ffmpeg_export(clip, folder, frames, OUR_ENCODER),
                    "14M": ffmpeg_export(clip, folder, frames, RATE_ENCODER), "encode": encode}
        results = dict(zip(commands, medians(runs, *commands.values())))
    if shutil.which("melt"):
        with virtual_display(f"{WIDTH}x{HEIGHT}") as (display, _), contextlib.suppress(subprocess.CalledProcessError):
            results["MLT"] = run(melt_export(clip, folder, frames), env={**os.environ, "DISPLAY": display},
                                 stderr=subprocess.DEVNULL)
    memory.append(results["ours"][2])
    line = f"{clip.stem:7}"
    for name in ("ours", "same", "14M", "MLT", "encode"):
        if name in results:
            seconds, cpu, _ = results[name]
            line += f"{seconds:7.2f} {cpu:6.2f}" + (f" {seconds / results['ours'][0]:5.2f}x" if name != "ours" else "")
        else:
            line += f"{'none':>20}"
    print(f"{line}  {finished.stat().st_size / 1e6:.1f}/{(folder / 'peer.mp4').stat().st_size / 1e6:.1f} MB", flush=True)


def likeness(path, reference):
    """Decibels, of RGB, frame by frame."""
    told = subprocess.run(
        ["ffmpeg", "-nostdin", "-i", path, "-i", reference, "-lavfi",
         "[0]settb=1/15,setpts=N,format=gbrp[a];[1]settb=1/15,setpts=N,format=gbrp[b];[a][b]psnr", "-f", "null", "-"],
        capture_output=True, text=True, check=True).stderr
    return float(re.search(r"average:([\d.]+|inf)", told).group(1))


def compare_gifs(clip, folder, runs):
    small = folder / "small.mp4"
    subprocess.run([*FFMPEG, "-i", clip, "-vf", "fps=15,scale=854:480:flags=bicubic", "-c:v", "libx264", "-preset",
                    "veryfast", "-crf", "12", small], check=True)
    ours = [QUILLANT, "export", small, "--output", folder / "ours.gif", "--plain", "--gif-size", "original",
            "--frame-rate", "15"]
    peer = [*FFMPEG, "-i", small, "-filter_complex", "split[a][b];[a]palettegen[p];[b][p]paletteuse",
            folder / "peer.gif"]
    times = medians(runs, ours, peer)
    print(f"{clip.stem:7}" + "".join(
        f"{seconds:8.2f} {cpu:6.2f}{(folder / name).stat().st_size / 1e6:8.2f} MB{likeness(folder / name, small):7.1f} dB"
        for (seconds, cpu, _), name in zip(times, ("ours.gif", "peer.gif")))
        + f"{times[1][0] / times[0][0]:7.1f}x", flush=True)


def compare_copies(clip, folder, runs):
    ours = [QUILLANT, "export", clip, "--output", folder / "copy.mp4", "--plain"]
    peer = [*FFMPEG, "-i", clip, "-map", "0", "-c", "copy", folder / "peer-copy.mp4"]
    times = medians(runs, ours, peer)
    same = "every packet the same" if packets(folder / "copy.mp4") == packets(clip) else "PACKETS DIFFER"
    print(f"{clip.stem:7}{clip.stat().st_size / 1e6:7.1f} MB{times[0][0] * 1e3:8.0f} ms{times[1][0] * 1e3:8.0f} ms"
          f"{times[0][0] / times[1][0]:7.2f}  {same}", flush=True)


def measure(seconds, runs):
    with tempfile.TemporaryDirectory() as scratch:
        folder = pathlib.Path(scratch)
        clips = [folder / f"{kind}.mp4" for kind in ("busy", "calm", "usual")]
        for clip in clips:
            record(clip.stem, clip, seconds)
        print(f"{WIDTH}x{HEIGHT} at {RATE}, {seconds} s, medians of {runs} runs: seconds, CPU seconds, and how many times "
              "ours that is")
        if not shutil.which("melt"):
            print("MLT is left out: there is no melt here (apt-get install melt)")
        print(f"{'':7}{'ours':>14}{'same':>21}{'14M':>21}{'MLT':>21}{'encode':>21}")
        memory = []
        for clip in clips:
            compare_movies(clip, folder, runs, memory)
        for times in (4, 8):
            longer = folder / f"longer{times}.mp4"
            subprocess.run([*FFMPEG, "-stream_loop", str(times - 1), "-i", clips[0], "-c", "copy", longer], check=True)
            shutil.copy(clips[0].with_suffix(".cursor.json"), longer.with_suffix(".cursor.json"))
            memory.append(run([QUILLANT, "export", longer, "--output", folder / "finished.mp4", *LOOK, *RATE_CHOICE])[2])
        print("peak memory: " + ", ".join(f"{name} {size:.0f} MB" for name, size in zip(
            ("busy", "calm", "usual", "busy four times as long", "eight times"), memory)))
        print("GIF of 854x480 at 15, ours and ffmpeg's: seconds, CPU seconds, size, likeness to the source")
        for clip in clips:
            compare_gifs(clip, folder, runs)
        print("copy: size, ours, ffmpeg -c copy, ratio")
        for clip in clips:
            compare_copies(clip, folder, max(runs, 7))
