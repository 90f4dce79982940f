import pytest


@pytest.mark.parametrize(
    "name, value",
    [
        ("Width", 32),                       # integer
        ("AcquisitionFrameRate", 12.5),      # float
        ("AcquisitionFrameRate", 7),         # float given an int
        ("ChunkModeActive", True),           # boolean
        ("PixelFormat", "Mono16"),           # enumeration by entry name
        ("TriggerMode", "On"),
    ],
)
def test_values_round_trip_with_their_python_type(camera, name, value):
    camera.features[name] = value
    read = camera.features[name]
    assert read == value
    assert type(read) is type(value) or (type(value) is int and type(read) is float)


def test_enumeration_takes_the_entry_value(camera):
    features = camera.features
    features["PixelFormat"] = 0x01100007  # Mono16's PFNC code
    assert features["PixelFormat"] == "Mono16"


def test_strings_read_as_str(camera):
    assert camera.device["DeviceUserID"] == "left"
    assert camera.remote["DeviceVendorName"] == "Acme"


@pytest.mark.parametrize(
    "name, value",
    [
        ("Width", 3.5),
        ("Width", "32"),
        ("Width", True),
        ("AcquisitionFrameRate", "fast"),
        ("ChunkModeActive", 1),
        ("PixelFormat", 2.0),
        ("AcquisitionStart", 1),  # a command takes no value
    ],
)
def test_wrong_python_types_raise_type_error(camera, name, value):
    before = camera.features.get(name) if name != "AcquisitionStart" else None
    with pytest.raises(TypeError, match=name):
        camera.features[name] = value
    if before is not None:
        assert camera.features[name] == before


@pytest.mark.parametrize(
    "name, value, message",
    [
        ("Width", 100000, "Width"),               # above the maximum
        ("Width", 0, "Width"),                    # below the minimum
        ("PixelFormat", "Mono99", "Mono99"),     # no such entry
        ("PayloadSize", 10, "read-only"),         # read-only
    ],
)
def test_refused_values_raise_feature_error(lg, camera, name, value, message):
    with pytest.raises(lg.FeatureError, match=message) as caught:
        camera.features[name] = value
    assert isinstance(caught.value, lg.Error)


@pytest.mark.parametrize("name, hint", [("width", "did you mean 'Width'"), ("Nope", "Nope")])
def test_unknown_features_raise_key_error(camera, name, hint):
    with pytest.raises(KeyError, match=hint):
        camera.features[name]
    assert name not in camera.features


def test_reading_a_command_raises_feature_error(lg, camera):
    with pytest.raises(lg.FeatureError, match="execute"):
        camera.features["AcquisitionStart"]


@pytest.mark.parametrize(
    "name, expected",
    [
        ("Width", dict(type="integer", access="RW", min=1, max=64, increment=1)),
        ("AcquisitionFrameRate", dict(type="float", access="RW", min=0.0, max=10000.0)),
        ("ChunkModeActive", dict(type="boolean", access="RW", min=None)),
        ("PayloadSize", dict(type="integer", access="RO")),
        ("AcquisitionStart", dict(type="command")),
    ],
)
def test_describe_reports_type_access_and_range(camera, name, expected):
    description = camera.features.describe(name)
    assert description["name"] == name
    for key, value in expected.items():
        assert description[key] == value, key


def test_describe_lists_enumeration_entries(camera):
    entries = camera.features.describe("PixelFormat")["entries"]
    assert {"Mono8", "Mono16", "BayerRG8", "RGB8"} <= set(entries)


@pytest.mark.parametrize(
    "module, feature",
    [
        ("remote", "Width"),
        ("device", "DeviceID"),
        ("stream", "StreamID"),
        ("interface", "InterfaceID"),
        ("system", "TLVendorName"),
    ],
)
def test_every_node_map_reads_its_own_features(camera, module, feature):
    features = getattr(camera, module)
    assert features.module == module
    assert feature in features.names()
    assert isinstance(features[feature], str if feature != "Width" else int)


def test_node_maps_refuse_on_a_closed_camera(lg, camera):
    features = camera.features
    camera.close()
    with pytest.raises(lg.FeatureError, match="open"):
        features["Width"]


def test_execute_runs_commands(camera):
    camera.features["TriggerMode"] = "On"
    camera.start()
    try:
        camera.features.execute("TriggerSoftware")
        assert camera.grab(timeout=5).frame_id >= 1
    finally:
        camera.stop()


def test_save_and_load_restore_features(lg, camera, tmp_path):
    path = str(tmp_path / "features.txt")
    camera.features["Width"] = 40
    camera.features["PixelFormat"] = "Mono16"
    camera.features["AcquisitionFrameRate"] = 20.0
    camera.features.save(path)
    camera.features["Width"] = 24
    camera.features["PixelFormat"] = "Mono8"
    camera.features["AcquisitionFrameRate"] = 5.0
    camera.features.load(path)
    assert camera.features["Width"] == 40
    assert camera.features["PixelFormat"] == "Mono16"
    assert camera.features["AcquisitionFrameRate"] == 20.0


@pytest.mark.parametrize(
    "content, message",
    [
        (None, "cannot read"),                      # no file
        ("Width 40 without a tab\n", "Width"),      # not Name<TAB>Value
        ("Width\t100000\n", "Width"),               # out of range
    ],
)
def test_load_reports_what_it_could_not_set(lg, camera, tmp_path, content, message):
    path = tmp_path / "features.txt"
    if content is not None:
        path.write_text(content)
    with pytest.raises(lg.FeatureError, match=message):
        camera.features.load(str(path))
