"""Shared set-up: a simulated producer with known cameras, and the module.

The producer reads its configuration once, when the library first loads it,
so LUMOSIM_CONFIG is set before lumogenicam is imported.
"""

import json
import os
import subprocess
import sys
import tempfile
import textwrap

import pytest

CONFIG = {
    "interfaces": [
        {
            "id": "IF_GEV",
            "tlType": "GEV",
            "devices": [
                {
                    "id": "DEV_G", "tlType": "GEV", "vendor": "Acme", "model": "G1",
                    "serial": "PYG1", "userName": "left", "sensorWidth": 64,
                    "sensorHeight": 48, "pixelFormats": "all", "pixelFormat": "Mono8",
                    "frameRate": 0,
                    "gev": {"mac": [0, 17, 34, 51, 68, 85], "ip": "10.0.0.7",
                            "subnet": "255.0.0.0", "gateway": "10.0.0.1"},
                }
            ],
        },
        {
            "id": "IF_U3V",
            "tlType": "U3V",
            "devices": [
                {
                    "id": "DEV_U", "tlType": "U3V", "vendor": "Bolt", "model": "U7",
                    "serial": "PYU1", "userName": "right", "sensorWidth": 96,
                    "sensorHeight": 64, "pixelFormats": "all", "pixelFormat": "BayerRG8",
                    "frameRate": 0,
                }
            ],
        },
    ]
}

_config_dir = tempfile.mkdtemp(prefix="lumopy-")
CONFIG_PATH = os.path.join(_config_dir, "sim.json")
with open(CONFIG_PATH, "w", encoding="utf-8") as _file:
    json.dump(CONFIG, _file)
os.environ["LUMOSIM_CONFIG"] = CONFIG_PATH

import lumogenicam  # noqa: E402  (after the configuration is in place)


@pytest.fixture(scope="session")
def lg():
    return lumogenicam


@pytest.fixture
def camera():
    """The GigE Vision camera, open, in Mono8, free running, chunks off."""
    cam = lumogenicam.Camera("PYG1")
    cam.open()
    cam.stop()  # a failed test may have left an iterator that never stopped
    features = cam.features
    features["TriggerMode"] = "Off"
    features["ChunkModeActive"] = False
    features["PixelFormat"] = "Mono8"
    features["Width"] = 64
    features["Height"] = 48
    yield cam
    cam.stop()
    cam.close()


def run_python(script, timeout=60, env_extra=None, **popen):
    """Runs a script in a new interpreter with this suite's environment."""
    env = dict(os.environ)
    env.update(env_extra or {})
    return subprocess.run([sys.executable, "-c", textwrap.dedent(script)], env=env,
                          capture_output=True, text=True, timeout=timeout, **popen)
