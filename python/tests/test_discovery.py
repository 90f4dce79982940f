import pytest


def by_serial(records):
    return {r.serial: r for r in records}


@pytest.mark.parametrize(
    "serial, expected",
    [
        ("PYG1", dict(vendor="Acme", model="G1", tl_type="GEV", user_name="left",
                      ip="10.0.0.7", mac="00:11:22:33:44:55", access_status="available")),
        ("PYU1", dict(vendor="Bolt", model="U7", tl_type="U3V", user_name="right",
                      ip=None, mac=None, access_status="available")),
    ],
)
def test_records_carry_the_device_facts(lg, serial, expected):
    record = by_serial(lg.discover())[serial]
    for name, value in expected.items():
        assert getattr(record, name) == value, name


@pytest.mark.parametrize(
    "tl, serials",
    [
        (None, {"PYG1", "PYU1"}),
        ("gev", {"PYG1"}),
        ("U3V", {"PYU1"}),
        ("gev, u3v", {"PYG1", "PYU1"}),
        (["u3v"], {"PYU1"}),
        (2, {"PYU1"}),  # the TL type bit of USB3 Vision
        ("cxp", set()),
    ],
)
def test_discover_filters_by_transport_layer(lg, tl, serials):
    assert set(by_serial(lg.discover(tl))) == serials


@pytest.mark.parametrize("tl", ["firewire", "", "gev,,bogus"])
def test_discover_refuses_unknown_transport_layers(lg, tl):
    with pytest.raises(ValueError):
        lg.discover(tl)


@pytest.mark.parametrize("how", ["serial", "record"])
def test_camera_opens_from_serial_or_record(lg, how):
    source = "PYU1" if how == "serial" else by_serial(lg.discover())["PYU1"]
    with lg.Camera(source) as cam:
        assert cam.is_open
        assert cam.info.serial == "PYU1"
        assert cam.features["DeviceSerialNumber"] == "PYU1"
    assert not cam.is_open


@pytest.mark.parametrize("source, error", [("NOPE", "Error"), (42, "TypeError")])
def test_camera_refuses_what_names_no_camera(lg, source, error):
    expected = lg.Error if error == "Error" else TypeError
    with pytest.raises(expected, match="serial number" if error == "Error" else "Camera"):
        lg.Camera(source)


def test_producer_reports_name_the_loaded_simulator(lg):
    reports = [r for r in lg.producer_reports() if r["path"].endswith("LumoSim.cti")]
    assert len(reports) == 1
    report = reports[0]
    assert report["state"] == "loaded"
    assert report["interface_count"] == 2
    assert report["reason"] == ""
