"""The Python binding against the null camera, the simulated-camera plugin,
the image-file and the video-file cameras: registers and fields, values by
data type, errors, lifetimes, presets, frame arrays and threads."""
import os
import threading

import numpy as np
import pytest

import camkit

DATA = os.environ.get("CAMKIT_DATA_DIR", os.path.join(os.path.dirname(__file__), "..", "..", "data"))
SENSOR = os.path.join(DATA, "sensor_data", "ck_bayer16.sdat")
SIMCAM = os.environ.get("CAMKIT_SIMCAM", "")


@pytest.fixture
def simcam():
    if not SIMCAM or not os.path.exists(SIMCAM):
        pytest.skip("the simulated-camera plugin is not built")
    with camkit.open(transports="plugin", sensor_data=SENSOR, plugin=SIMCAM) as cams:
        yield cams[0]


@pytest.fixture
def null_camera():
    with camkit.open(transports="null", sensor_data=SENSOR) as cams:
        yield cams[0]


def test_sensor_and_registers_by_name_field_and_address(simcam):
    assert simcam.sensor["name"] == "CK0200"
    assert simcam.sensor["width"] == 1920 and "GLOBAL_GAIN" in simcam.sensor["registers"]
    assert simcam.regs["COARSE_INTEGRATION_TIME"] == 0x400
    assert simcam.regs[0x3012] == 0x400
    simcam.regs["GLOBAL_GAIN.ANALOG_GAIN"] = 5
    assert simcam.regs["GLOBAL_GAIN"] == 0x85  # bits outside the field untouched
    assert simcam.regs["global_gain.analog_gain"] == 5
    simcam.regs[0x3012] = 0x200
    assert simcam.regs["COARSE_INTEGRATION_TIME"] == 0x200
    assert simcam.regs.raw["GLOBAL_GAIN"] == 0x85
    assert simcam.regs.find("*_GAIN")[:2] == ["GREEN1_GAIN", "BLUE_GAIN"]
    assert "RED_GAIN" in simcam.regs and "NO_SUCH" not in simcam.regs


def test_values_that_do_not_fit_and_unknown_names_raise(simcam):
    with pytest.raises(ValueError):
        simcam.regs["GLOBAL_GAIN.ANALOG_GAIN"] = 0x80  # a 7-bit field
    assert simcam.regs["GLOBAL_GAIN.ANALOG_GAIN"] == 0
    with pytest.raises(camkit.Error) as err:
        simcam.regs["NO_SUCH_REGISTER"]
    assert err.value.symbol and err.value.code == 1 and err.value.message
    with pytest.raises(KeyError):
        simcam.mode["NO_SUCH_MODE"]


def test_modes_by_name(null_camera):
    null_camera.mode["REG_DATA_SIZE"] = 8
    assert null_camera.mode["reg_data_size"] == 8
    assert "USE_REG_CACHE" in null_camera.mode.names()


def test_a_closed_camera_raises_instead_of_crashing():
    with camkit.open(transports="null", sensor_data=SENSOR) as cams:
        cam = cams[0]
    assert cams.closed
    with pytest.raises(camkit.Error):
        cam.regs["GLOBAL_GAIN"]
    with pytest.raises(camkit.Error):
        cam.grab()
    with pytest.raises(camkit.Error):
        cams[0]


def test_errors_have_a_class_by_kind(simcam):
    with pytest.raises(camkit.GrabError) as err:  # not started: the simulated camera refuses
        simcam.grab()
    assert err.value.symbol and err.value.code == 3
    kinds = {12: camkit.BusError, 14: camkit.CameraTimeout, 16: camkit.NotSupportedError, 8: camkit.SensorError,
             258: camkit.PresetError, 1: camkit.Error}
    for code, kind in kinds.items():
        assert camkit._errors._error_for(code) is kind
        assert issubclass(kind, camkit.Error)


def test_no_camera_raises_with_the_symbol():
    with pytest.raises(camkit.Error) as err:
        camkit.open(transports=0)
    assert err.value.code != 0
    with pytest.raises(ValueError):
        camkit.open(transports="floppy")


@pytest.mark.parametrize(
    "image_type, pixel_bytes, shape, dtype",
    [
        (1, 1, (4, 6), np.uint8),      # Bayer 8
        (2, 2, (4, 6), np.uint16),     # Bayer 10
        (12, 2, (4, 6), np.uint16),    # Bayer 12
        (29, 2, (4, 6), np.uint16),    # Bayer 16
        (24, 4, (4, 6), np.uint32),    # Bayer 20
        (10, 3, (4, 6, 3), np.uint8),  # RGB24
        (11, 4, (4, 6, 4), np.uint8),  # RGB32
        (15, 6, (4, 6, 3), np.uint16), # RGB48
    ],
)
def test_frame_arrays_follow_the_image_type(image_type, pixel_bytes, shape, dtype):
    count = int(np.prod(shape))
    item = np.dtype(dtype).itemsize
    data = bytes(range(256)) * ((count * item) // 256 + 1)
    frame = camkit._camkit._frame_from_bytes(data[: count * item], image_type, 6, 4, pixel_bytes)
    assert frame.shape == shape and frame.dtype == dtype
    assert frame.flags["C_CONTIGUOUS"] and frame.strides[-1] == item
    assert frame.tobytes() == data[: count * item]
    with pytest.raises(ValueError):
        camkit._camkit._frame_from_bytes(data[: count * item - 1], image_type, 6, 4, pixel_bytes)


def test_grab_gives_the_simulated_frame(simcam):
    simcam.start()
    first = simcam.grab()
    second = simcam.grab()
    assert first.shape == (1080, 1920) and first.dtype == np.uint16
    assert first[0, 0] == 0 and second[0, 0] == 1  # the frame counter
    assert abs(int(first[2, 100]) - 0.75 * 4095) <= 2  # white bar, green site
    assert simcam.frame_info["frame_number"] == 1


def test_grab_in_one_thread_while_another_reads_registers(simcam):
    simcam.start()
    errors = []

    def reader():
        try:
            for _ in range(200):
                assert simcam.regs["COARSE_INTEGRATION_TIME"] == 0x400
        except Exception as e:  # noqa: BLE001 - reported to the main thread
            errors.append(e)

    thread = threading.Thread(target=reader)
    thread.start()
    frames = [simcam.grab() for _ in range(5)]
    thread.join()
    assert not errors
    assert [int(f[0, 0]) for f in frames] == [0, 1, 2, 3, 4]


def test_preset_runs_and_reports_each_line(simcam, tmp_path):
    ini = tmp_path / "p.ini"
    ini.write_text("[Init]\nREG = 0x3012, 0x0123\nLOAD = Hidden: Gain\nSTATE = 1\nDELAY = 0\n"
                   "[Hidden: Gain]\nFIELD_WR = GLOBAL_GAIN, ANALOG_GAIN, 3\n")
    lines = simcam.preset("Init", file=ini)
    assert [(l["depth"], l["outcome"]) for l in lines] == [
        (0, "ok"), (1, "ok"), (0, "ok"), (0, "not supported"), (0, "error")]
    assert lines[1]["section"] == "Hidden: Gain"
    assert lines[4]["error"] == "INI_LOAD_ERROR" and "DELAY value out of range" in lines[4]["message"]
    assert simcam.regs["COARSE_INTEGRATION_TIME"] == 0x123
    assert simcam.regs["GLOBAL_GAIN.ANALOG_GAIN"] == 3
    with pytest.raises(camkit.PresetError) as missing:
        simcam.preset("No Such Preset", file=str(ini))
    assert missing.value.symbol == "INI_LOAD_ERROR"


def test_the_default_preset_file_is_the_sensors(simcam):
    lines = simcam.preset("Kite Initialization")
    assert lines and all(l["outcome"] != "error" for l in lines)


def _image_samples():
    """Rows of data/images/manifest.txt: file, width, height, image type."""
    manifest = os.path.join(DATA, "images", "manifest.txt")
    if not os.path.exists(manifest):
        return []
    rows = []
    with open(manifest) as f:
        for line in f:
            if line.startswith("#") or not line.strip():
                continue
            name, width, height, image_type = line.split()[:4]
            rows.append((name, int(width), int(height), int(image_type)))
    return rows


# Element type and trailing shape by image type: Bayer by pixel depth,
# colour with its channels, JPEG as bytes.
_LAYOUTS = {1: (np.uint8, ()), 2: (np.uint16, ()), 12: (np.uint16, ()), 24: (np.uint32, ()),
            11: (np.uint8, (4,)), 15: (np.uint16, (3,)), 18: (np.uint8, (4,)), 16: (np.uint8, None),
            5: (np.uint8, None)}


@pytest.mark.parametrize("name, width, height, image_type", _image_samples())
def test_image_file_cameras_grab_the_samples_frames(name, width, height, image_type):
    path = os.path.join(DATA, "images", name)
    try:
        cams = camkit.open(transports="image", sensor_data=path)
    except camkit.Error as e:
        pytest.skip(f"{name} does not open in this build: {e.symbol}")
    with cams:
        cam = cams[0]
        assert (cam.sensor["width"], cam.sensor["height"]) == (width, height)
        frame = cam.grab()
        with open(os.path.join(DATA, "images", "expected", name + ".frame"), "rb") as f:
            expected = f.read()
        assert frame.tobytes() == expected
        dtype, channels = _LAYOUTS.get(image_type, (None, None))
        if dtype is not None and channels is not None:
            assert frame.dtype == dtype and frame.shape == (height, width) + channels
