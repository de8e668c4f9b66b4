"""The Python package against numpy: member selection, strided arrays, statuses,
enumerations and the low level. Run by CTest with the staged package on PYTHONPATH."""

import ctypes

import numpy as np
import pytest

import ovk

rng = np.random.default_rng(7)


def image(shape, dtype, high=256):
    return rng.integers(0, high, size=shape).astype(dtype)


def test_add_uint8_c3_scaled_is_exact():
    a, b = image((5, 7, 3), np.uint8), image((5, 7, 3), np.uint8)
    expected = np.clip(np.round((a.astype(np.int64) + b) / 2), 0, 255)  # np.round: half to even
    assert np.array_equal(ovk.add(a, b, scale=1), expected)


def test_add_uint16_saturates_and_float32_is_ieee():
    a, b = image((4, 6), np.uint16, 65536), image((4, 6), np.uint16, 65536)
    assert np.array_equal(ovk.add(a, b), np.minimum(a.astype(np.int64) + b, 65535))
    x, y = rng.standard_normal((4, 6, 4), np.float32), rng.standard_normal((4, 6, 4), np.float32)
    assert np.array_equal(ovk.add(x, y), x + y)


def test_sub_takes_the_c_parameter_order():
    a, b = image((3, 4), np.int16, 100), image((3, 4), np.int16, 100)
    assert np.array_equal(ovk.sub(a, b), b - a)


def test_views_in_and_out():
    big = image((9, 12, 3), np.uint8)
    view = big[2:7, 3:10]  # rows a step apart, pixels packed: passed as it is
    assert np.array_equal(ovk.add_c(view, value=(1, 2, 3)), ovk.add_c(view.copy(), value=(1, 2, 3)))
    gaps = big[:, ::2]  # pixels not packed: copied
    assert np.array_equal(ovk.mirror(gaps, axis="h"), np.flip(gaps, 0))
    out = np.zeros((9, 12, 3), np.uint8)
    result = ovk.add_c(view, value=5, out=out[1:6, 2:9])
    assert result.base is out
    assert np.array_equal(out[1:6, 2:9], np.minimum(view.astype(int) + 5, 255))
    out[1:6, 2:9] = 0
    assert not out.any()  # nothing written outside the view
    strided_out = np.zeros((5, 14, 3), np.uint8)
    ovk.add_c(view, value=5, out=strided_out[:, ::2])  # through a copy
    assert np.array_equal(strided_out[:, ::2], np.minimum(view.astype(int) + 5, 255))
    assert not strided_out[:, 1::2].any()


def test_in_place_when_out_is_the_last_image():
    a, b = image((4, 5), np.uint8, 100), image((4, 5), np.uint8, 100)
    expected = a + b
    assert ovk.add(a, b, out=b) is b
    assert np.array_equal(b, expected)


def test_ac4_keeps_the_first_sources_alpha():
    a, b = image((3, 4, 4), np.uint8, 100), image((3, 4, 4), np.uint8, 100)
    r = ovk.add(a, b, ac4=True)
    assert np.array_equal(r[..., :3], a[..., :3] + b[..., :3]) and np.array_equal(r[..., 3], a[..., 3])


def test_status_error():
    with pytest.raises(ovk.Error) as e:
        ovk.div_c(image((3, 3), np.uint8), value=0)
    assert (e.value.name, e.value.code) == ("ovkStatusDivByZeroError", -10)
    assert e.value.function == "ovkiDivC_8u_C1RSfs"


def test_status_warning_still_returns_the_result():
    divisor = np.array([[0, 2]], np.float32)
    with pytest.warns(ovk.StatusWarning, match="ovkStatusDivByZero") as w:
        r = ovk.div(divisor, np.array([[1, 8]], np.float32))
    assert w[0].message.name == "ovkStatusDivByZero" and w[0].message.code == 6
    assert r[0, 0] == np.inf and r[0, 1] == 4


def test_python_usage_errors():
    with pytest.raises(TypeError, match="ovkiAdd_8u_C1RSfs"):
        ovk.add(np.zeros((2, 2), np.int64), np.zeros((2, 2), np.int64))
    with pytest.raises(ValueError):
        ovk.add(np.zeros((2, 2, 5), np.uint8), np.zeros((2, 2, 5), np.uint8))
    with pytest.raises(ValueError, match="ovkCmpLessEq"):  # "less" would be exact; "l" is ambiguous
        ovk.threshold(image((2, 2), np.uint8), threshold=5, cmp_op="l")


@pytest.mark.parametrize("axis, numpy_axes", [("v", 1), ("H", 0), (ovk.OvkiAxis.ovkAxsBoth, (0, 1)), (1, 1)])
def test_mirror_matches_numpy(axis, numpy_axes):
    img = image((5, 6, 3), np.uint16, 65536)
    assert np.array_equal(ovk.mirror(img, axis=axis), np.flip(img, numpy_axes))


def test_transpose_and_convert_match_numpy():
    img = image((4, 7), np.uint8)
    assert np.array_equal(ovk.transpose(img), img.T)
    rgb = image((4, 7, 3), np.uint8)
    assert np.array_equal(ovk.transpose(rgb), rgb.transpose(1, 0, 2))
    converted = ovk.convert(rgb, dtype=np.float32)
    assert converted.dtype == np.float32 and np.array_equal(converted, rgb.astype(np.float32))
    back = ovk.convert(converted + 0.5, dtype=np.uint8, round_mode="near")
    assert np.array_equal(back, np.round(rgb + 0.5))


def test_results_through_pointers():
    img = np.array([[10, 10, 200, 200]], np.uint8)
    assert ovk.compute_threshold_otsu(img) in range(10, 200)
    counts = ovk.count_in_range(image((4, 4, 3), np.uint8), lower_bound=0, upper_bound=255)
    assert list(counts) == [16, 16, 16]


def test_low_level_call_by_name():
    a, b = image((3, 5), np.uint8, 100), image((3, 5), np.uint8, 100)
    dst = np.zeros_like(a)
    p = ctypes.POINTER(ctypes.c_uint8)
    add = ovk.lib.ovkiAdd_8u_C1RSfs
    assert add is ovk.raw("ovkiAdd_8u_C1RSfs")
    status = add(a.ctypes.data_as(p), 5, b.ctypes.data_as(p), 5, dst.ctypes.data_as(p), 5, ovk.OvkiSize(5, 3), 0)
    assert status == ovk.OvkStatus.ovkStatusOk and np.array_equal(dst, a + b)
    assert add(None, 5, None, 5, None, 5, ovk.OvkiSize(5, 3), 0) == ovk.OvkStatus.ovkStatusNullPointer
    assert ovk.OVK_COPY_NONTEMPORAL == 1


def test_statistics_match_numpy():
    img = image((37, 29, 3), np.uint16, 65536)
    assert list(ovk.sum(img)) == [float(img[..., c].sum(dtype=np.int64)) for c in range(3)]
    low, x, y = ovk.min_indx(img[..., 0].copy())
    first = np.unravel_index(np.argmin(img[..., 0]), img.shape[:2])  # row-major: the first occurrence
    assert (low, y, x) == (img[..., 0].min(), *first)
    floats = image((8, 9), np.float32) / 8
    assert ovk.norm_l2(floats) == np.sqrt(np.sum(floats.astype(np.float64) ** 2))
    with pytest.warns(ovk.StatusWarning, match="ovkStatusDivByZero"):
        ovk.norm_rel_l1(floats, np.zeros_like(floats))
