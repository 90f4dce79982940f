import signal
import subprocess
import sys
import threading
import time

import pytest

from conftest import run_python


def ticks_during(wait):
    """How often another thread ticked while `wait` ran.

    A thread can run only while the waiting one has let the GIL go: a wait
    inside C++ that kept it would show (next to) no ticks.
    """
    done = threading.Event()
    ticks = []

    def ticker():
        while not done.is_set():
            ticks.append(time.monotonic())
            time.sleep(0.001)

    thread = threading.Thread(target=ticker)
    thread.start()
    try:
        time.sleep(0.05)
        start = time.monotonic()
        wait()
        end = time.monotonic()
    finally:
        done.set()
        thread.join()
    return sum(1 for t in ticks if start + 0.05 < t < end - 0.05)


def test_other_threads_run_while_grab_waits(lg, camera):
    camera.features["TriggerMode"] = "On"
    camera.start()

    def wait():
        with pytest.raises(lg.GrabTimeout):
            camera.grab(timeout=0.5)

    try:
        assert ticks_during(wait) > 50
    finally:
        camera.stop()


def test_stop_from_another_thread_ends_a_waiting_grab(lg, camera):
    camera.features["TriggerMode"] = "On"
    camera.start()
    outcome = []

    def grab():
        try:
            camera.grab(timeout=None)
            outcome.append("image")
        except lg.Error as e:
            outcome.append(e.code)

    thread = threading.Thread(target=grab)
    thread.start()
    time.sleep(0.3)
    camera.stop()
    thread.join(timeout=10)
    assert not thread.is_alive()
    assert outcome and outcome[0] in (-12, -1, -2)


def test_threads_grab_from_one_camera_without_sharing_images(camera):
    camera.start()
    seen = []
    lock = threading.Lock()

    def grab():
        for _ in range(20):
            image = camera.grab(timeout=5)
            with lock:
                seen.append(image.frame_id)

    threads = [threading.Thread(target=grab) for _ in range(3)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    camera.stop()
    assert len(seen) == 60 and len(set(seen)) == 60


INTERRUPT_SCRIPT = """
import signal, sys, time
import lumogenicam as lg
# A runner started in the background may hand SIGINT down ignored.
signal.signal(signal.SIGINT, signal.default_int_handler)
cam = lg.Camera("PYG1")
cam.open()
cam.features["TriggerMode"] = "On"
cam.start()
print("waiting", flush=True)
started = time.monotonic()
try:
    cam.grab(timeout={timeout})
    print("image")
except KeyboardInterrupt:
    print("interrupted", cam.is_grabbing, round(time.monotonic() - started) < 10)
"""


@pytest.mark.parametrize("timeout", ["None", "60"])
def test_ctrl_c_during_grab_stops_and_raises_keyboard_interrupt(timeout):
    child = subprocess.Popen([sys.executable, "-c", INTERRUPT_SCRIPT.format(timeout=timeout)],
                             stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    try:
        assert child.stdout.readline().strip() == "waiting"
        time.sleep(0.3)
        child.send_signal(signal.SIGINT)
        out, err = child.communicate(timeout=30)
    finally:
        child.kill()
    assert child.returncode == 0, err
    assert out.split() == ["interrupted", "False", "True"]
