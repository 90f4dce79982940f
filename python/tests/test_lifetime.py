import gc

import numpy as np
import pytest

from conftest import run_python


@pytest.mark.parametrize("ending", ["stop", "close", "with"])
def test_arrays_stay_valid_after_the_camera_moves_on(lg, ending):
    with lg.Camera("PYG1") as cam:
        cam.features["PixelFormat"] = "Mono8"
        cam.start()
        image = cam.grab()
        array = image.array
        expected = array.copy()
        del image
        if ending == "stop":
            cam.stop()
        elif ending == "close":
            cam.close()
    gc.collect()
    # The pixels are still the producer's buffer, untouched by the teardown.
    assert np.array_equal(array, expected)
    assert not cam.is_open


def test_releasing_the_last_array_requeues_the_buffer(lg, camera):
    camera.buffer_count = 3
    camera.start()
    try:
        arrays = [camera.grab().array for _ in range(3)]  # the images themselves are gone
        with pytest.raises(lg.GrabTimeout):
            camera.grab(timeout=0.3)  # every buffer is held by an array
        del arrays[0]
        gc.collect()
        assert camera.grab(timeout=5).frame_id == 4
    finally:
        camera.stop()


def test_an_image_alone_keeps_its_buffer_too(lg, camera):
    camera.buffer_count = 3
    camera.start()
    try:
        images = [camera.grab() for _ in range(3)]
        with pytest.raises(lg.GrabTimeout):
            camera.grab(timeout=0.3)
        images.pop()
        gc.collect()
        assert camera.grab(timeout=5).frame_id == 4
    finally:
        camera.stop()


def test_an_array_outlives_its_camera_object(lg):
    cam = lg.Camera("PYG1")
    cam.open()
    cam.features["PixelFormat"] = "Mono8"
    for image in cam.stream(1):
        array = image.array
    expected = array.copy()
    del cam, image
    gc.collect()
    assert np.array_equal(array, expected)
    # The camera stays open for the array, then closes with it.
    assert lg.Camera("PYG1").is_open
    del array
    gc.collect()
    assert not lg.Camera("PYG1").is_open


EXIT_SCRIPT = """
import lumogenicam as lg
cam = lg.Camera("PYG1")
cam.open()
cam.features["PixelFormat"] = "Mono8"
cam.start()
image = cam.grab()
array = image.array
arrays = [cam.grab().array for _ in range(2)]
{ending}
print("done", flush=True)
"""


@pytest.mark.parametrize("ending", ["pass", "cam.stop()", "cam.close()", "del cam"])
def test_interpreter_exit_gives_everything_back_before_uninit(tmp_path, ending):
    log = tmp_path / "calls.log"
    result = run_python(EXIT_SCRIPT.format(ending=ending), env_extra={"LUMOSIM_CALL_LOG": str(log)})
    assert result.returncode == 0, result.stderr
    assert result.stdout.strip() == "done"
    calls = log.read_text().split()
    # The producer was closed last, after its stream and device.
    assert calls[-1] == "GCCloseLib"
    assert "DSClose" in calls and "DevClose" in calls
    assert calls.index("DSClose") < calls.index("GCCloseLib")


SHUTDOWN_SCRIPT = """
import lumogenicam as lg
cam = lg.Camera("PYG1")
cam.open()
image = next(iter(cam.stream(1)))
lg.shutdown()
print(image.frame_id)
for attempt in (lambda: image.array, lambda: lg.Camera("PYG1"), lambda: lg.discover(),
                lambda: cam.features["Width"]):
    try:
        attempt()
        print("no error")
    except lg.Error as e:
        print("Error")
lg.shutdown()  # a second time does nothing
"""


def test_after_shutdown_the_module_raises_error(tmp_path):
    result = run_python(SHUTDOWN_SCRIPT)
    assert result.returncode == 0, result.stderr
    assert result.stdout.split() == ["1", "Error", "Error", "Error", "Error"]
