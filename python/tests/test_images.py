import numpy as np
import pytest

W, H = 64, 48


@pytest.mark.parametrize(
    "pixel_format, shape, dtype",
    [
        ("Mono8", (H, W), np.uint8),
        ("BayerRG8", (H, W), np.uint8),
        ("Mono12", (H, W), np.uint16),
        ("Mono16", (H, W), np.uint16),
        ("BayerGB12", (H, W), np.uint16),
        ("RGB8", (H, W, 3), np.uint8),
        ("BGR8", (H, W, 3), np.uint8),
        ("YUV422_8_UYVY", (H, W, 2), np.uint8),
        ("Mono12p", (W * H * 12 // 8,), np.uint8),
        ("Mono10p", (W * H * 10 // 8,), np.uint8),
        ("Mono12Packed", (W * H * 3 // 2,), np.uint8),
        ("RGB565p", (W * H * 2,), np.uint8),
    ],
)
def test_array_shape_and_dtype_follow_the_pixel_format(lg, camera, pixel_format, shape, dtype):
    camera.features["PixelFormat"] = pixel_format
    for image in camera.stream(1):
        array = image.array
        assert image.pixel_format == pixel_format
        assert image.pixel_format_code == lg.pixel_format_code(pixel_format)
        assert array.shape == shape
        assert array.dtype == dtype
        # No copy: the array starts at the image inside the producer's buffer.
        assert array.ctypes.data == image.buffer_address + image.image_offset
        assert not array.flags.writeable


def test_mono_arrays_hold_the_samples(camera):
    camera.features["PixelFormat"] = "Mono12"
    for image in camera.stream(1):
        assert np.array_equal(image.array, image.to_mono16())
        assert image.array.max() < 4096
    camera.features["PixelFormat"] = "Mono8"
    for image in camera.stream(1):
        assert np.array_equal(image.array, image.to_mono8())


@pytest.mark.parametrize(
    "pixel_format, method, shape, dtype",
    [
        ("BayerRG8", "to_bgr", (H, W, 3), np.uint8),
        ("BayerRG8", "to_rgb", (H, W, 3), np.uint8),
        ("RGB8", "to_mono8", (H, W), np.uint8),
        ("Mono12p", "to_mono16", (H, W), np.uint16),
        ("YUV422_8_UYVY", "to_bgr", (H, W, 3), np.uint8),
    ],
)
def test_conversions_give_new_arrays(camera, pixel_format, method, shape, dtype):
    camera.features["PixelFormat"] = pixel_format
    for image in camera.stream(1):
        converted = getattr(image, method)()
        assert converted.shape == shape and converted.dtype == dtype
        assert converted.flags.writeable and converted.flags.owndata


def test_rgb_is_bgr_reversed_and_packed_matches_unpacked(camera):
    camera.features["PixelFormat"] = "RGB8"
    for image in camera.stream(1):
        assert np.array_equal(image.to_bgr(), image.array[:, :, ::-1])
        assert np.array_equal(image.to_rgb(), image.array)
    # The scene moves with the frame ID modulo 8, so frames 8 apart are alike.
    camera.features["PixelFormat"] = "Mono12"
    unpacked = next(iter(camera.stream(1))).to_mono16()
    camera.features["PixelFormat"] = "Mono12p"
    packed = next(iter(camera.stream(1))).to_mono16()
    assert np.array_equal(unpacked, packed)


def test_image_facts(lg, camera):
    camera.features["Width"] = 32
    camera.features["Height"] = 16
    images = list(camera.stream(3))
    assert [i.frame_id for i in images] == [1, 2, 3]
    for image in images:
        assert (image.width, image.height) == (32, 16)
        assert not image.incomplete
        assert image.status == 0
        assert image.padding_x == 0
    assert images[0].timestamp <= images[1].timestamp <= images[2].timestamp


def test_chunks_are_listed_by_id(camera):
    features = camera.features
    features["ChunkModeActive"] = True
    features["ChunkSelector"] = "FrameID"
    features["ChunkEnable"] = True
    for image in camera.stream(2):
        chunks = image.chunks
        assert int.from_bytes(chunks[0x1001], "little") == image.frame_id
        assert image.array.shape == (H, W)  # the trailer is not part of the pixels


@pytest.mark.parametrize("strategy", ["one_by_one", "latest", "upcoming"])
def test_stream_delivers_count_images_and_stops(camera, strategy):
    images = list(camera.stream(4, strategy=strategy))
    assert len(images) == 4
    assert not camera.is_grabbing
    ids = [i.frame_id for i in images]
    assert ids == sorted(set(ids))


def test_stream_left_early_stops_what_it_started(camera):
    for _ in camera.stream(100):
        break
    import gc
    gc.collect()
    assert not camera.is_grabbing


def test_stream_leaves_a_running_acquisition_running(camera):
    camera.start()
    try:
        assert len(list(camera.stream(2))) == 2
        assert camera.is_grabbing
    finally:
        camera.stop()


def test_stream_is_also_the_stream_node_map(camera):
    assert camera.stream["StreamID"]
    assert "StreamBufferHandlingMode" in camera.stream


@pytest.mark.parametrize(
    "action, code",
    [
        ("grab_without_start", -1),
        ("start_twice", -1),
    ],
)
def test_library_failures_carry_their_code(lg, camera, action, code):
    with pytest.raises(lg.Error) as caught:
        if action == "grab_without_start":
            camera.grab(timeout=0.1)
        else:
            camera.start()
            try:
                camera.start()
            finally:
                camera.stop()
    assert caught.value.code == code
    assert f"(code {code})" in str(caught.value)
    assert caught.value.message


def test_a_grab_without_image_times_out(lg, camera):
    camera.features["TriggerMode"] = "On"
    camera.start()
    try:
        with pytest.raises(lg.GrabTimeout) as caught:
            camera.grab(timeout=0.25)
    finally:
        camera.stop()
    assert caught.value.code == -11
    assert isinstance(caught.value, TimeoutError)


@pytest.mark.parametrize("timeout", [-1, float("nan")])
def test_bad_timeouts_are_refused(camera, timeout):
    camera.start()
    try:
        with pytest.raises(ValueError):
            camera.grab(timeout=timeout)
    finally:
        camera.stop()
