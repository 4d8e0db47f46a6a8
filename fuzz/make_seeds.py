#!/usr/bin/env python3
"""Writes the seed corpora of the fuzz harnesses: a few small valid inputs
and slightly broken ones per harness, into fuzz/corpus/<harness>/.

Usage: fuzz/make_seeds.py [corpus directory]
"""
import gzip
import os
import struct
import sys

TAG = b"CDataset 0.1"


def i32(*values):
    return struct.pack("<%di" % len(values), *values)


def i64(*values):
    return struct.pack("<%dq" % len(values), *values)


def f32(*values):
    return struct.pack("<%df" % len(values), *values)


def f64(*values):
    return struct.pack("<%dd" % len(values), *values)


def c_string(text, length=None):
    data = text + b"\0"
    return i32(len(data) if length is None else length) + data


def dataset(items, in_dim, out_dim, values, info=b"none", tag=TAG, grow=10,
            count=None):
    return (c_string(tag) + i32(len(items) if count is None else count, grow,
                                in_dim, out_dim) +
            c_string(info) + f32(*values))


def gz(data):
    return gzip.compress(data, mtime=0)


def dataset_seeds():
    three = dataset([0, 1, 2], 2, 1, [1, 2, 3, 4, 5, 6, 7, 8, 9])
    return {
        "empty": dataset([], 0, 0, []),
        "three_items": three,
        "cut_in_items": three[:-5],
        "cut_in_header": three[:20],
        "wrong_tag": dataset([], 0, 0, [], tag=b"CDataset 0.2"),
        "huge_count": dataset([0], 2, 1, [1, 2, 3], count=0x7FFFFFFF),
        "negative_dimension": (c_string(TAG) + i32(1, 10, -2, 1) +
                               c_string(b"none") + f32(1, 2, 3)),
        "info_without_nul": (c_string(TAG) + i32(0, 10, 0, 0) + i32(4) +
                             b"none"),
        "trailing_data": three + b"\x01\x02\x03\x04",
    }


def gzip_file_seeds():
    records = dataset_seeds()
    compressed = gz(records["three_items"])
    broken_crc = bytearray(compressed)
    broken_crc[-8] ^= 0xFF
    return {
        "three_items": compressed,
        "empty_dataset": gz(records["empty"]),
        "cut_gzip": compressed[: len(compressed) // 2],
        "broken_crc": bytes(broken_crc),
        "plain_record": records["three_items"],
        "two_members": gz(records["three_items"][:30]) +
                       gz(records["three_items"][30:]),
        "empty_file": b"",
        # 100 bytes declaring 2,000,000,000 items of 16 + 1 values.
        "two_billion_items": gz(dataset(
            [0], 16, 1, [float(i * i) for i in range(12)],
            info=b"two billion items", count=2000000000)),
    }


def gzstream_seeds():
    text = bytes(range(256)) * 3
    compressed = gz(text)
    return {
        "text": compressed,
        "empty_member": gz(b""),
        "cut": compressed[:40],
        "plain": b"plain bytes, not compressed\n",
        "two_members": gz(b"first ") + gz(b"second"),
    }


def mat_record(name, rows, columns, values, imaginary=0, name_length=None):
    data = name + b"\0"
    length = len(data) if name_length is None else name_length
    return i64(0, rows, columns, imaginary, length) + data + f64(*values)


def mat_seeds():
    x23 = mat_record(b"x", 2, 3, [1, 2, 3, 4, 5, 6])
    return {
        "x_after_other": mat_record(b"a", 2, 2, [1, 2, 3, 4]) + x23,
        "x_column": mat_record(b"x", 3, 1, [1.5, -2, 7]),
        "x_row": mat_record(b"x", 1, 4, [1, 2, 3, 4]),
        "not_found": mat_record(b"y", 1, 1, [1]),
        "cut_data": x23[:-12],
        "huge_shape": mat_record(b"x", 0x7FFFFFFF, 0x7FFFFFFF, [1]),
        "many_rows_no_columns": mat_record(b"x", 0x7FFFFFFF, 0, []),
        "negative_rows": mat_record(b"x", -3, 1, [1]),
        "long_name": mat_record(b"x" * 300, 1, 1, [1]),
        "negative_name_length": mat_record(b"x", 1, 1, [1], name_length=-1),
        "imaginary": mat_record(b"x", 1, 2, [1, 2, 3, 4], imaginary=1),
    }


def standard_mat_record(name, rows, columns, data, type_code=0,
                        imaginary=0):
    name = name + b"\0"
    return i32(type_code, rows, columns, imaginary, len(name)) + name + data


def standard_mat_seeds():
    x23 = standard_mat_record(b"x", 2, 3, f64(1, 2, 3, 4, 5, 6))
    return {
        "x_after_other": standard_mat_record(
            b"a", 1, 2, f64(1, 2) + f64(3, 4), imaginary=1) + x23,
        "x_single": standard_mat_record(b"x", 3, 1, f32(1.5, -2, 7), 10),
        "x_int32": standard_mat_record(b"x", 1, 2, i32(-5, 9), 20),
        "x_int16": standard_mat_record(b"x", 2, 1,
                                       struct.pack("<2h", -3, 4), 30),
        "x_uint16": standard_mat_record(b"x", 1, 1, struct.pack("<H", 65535),
                                        40),
        "x_uint8": standard_mat_record(b"x", 1, 3, bytes([0, 128, 255]), 50),
        "x_imaginary": standard_mat_record(b"x", 1, 1, f64(1) + f64(2),
                                           imaginary=1),
        "x_text": standard_mat_record(b"x", 1, 2, f64(65, 66), 1),
        "x_big_endian": standard_mat_record(b"x", 1, 1, f64(1), 1000),
        "cut_data": x23[:-12],
        "huge_shape": standard_mat_record(b"x", 0x7FFFFFFF, 0x7FFFFFFF,
                                          f64(1)),
        "negative_rows": standard_mat_record(b"x", -3, 1, f64(1)),
        "not_found": standard_mat_record(b"y", 1, 1, f64(1)),
    }


# The first byte of a CSV seed holds the harness's option bits: 1 header,
# 2-4 delimiter (, ; tab blank), 8 label column (bits 64-128 its number),
# 16 output column 0, 32 input columns 1 and 0.
def csv_seeds():
    iris_options = bytes([1 | 8 | (3 << 6)])
    return {
        "plain": b"\x00" + b"1,2,3\n4,5,6\n",
        "header_label": iris_options + b"a,b,c,kind\n1,2,3,setosa\n"
                        b"4,5,6,virginica\n7,8,9,setosa\n",
        "numeric_label": bytes([8 | (1 << 6)]) + b"1,0\n2,1\n3,1\n",
        "semicolons_outputs": bytes([2 | 16 | 32]) + b"1;2\n3;4\n",
        "quoted_crlf": b"\x00" + b'"1","2"\r\n"3", "4"\r\n',
        "byte_order_mark": b"\x00" + b"\xef\xbb\xbf1,2\n",
        "non_finite_values": b"\x00" + b"inf,-NaN,1e-30,1e39\n",
        "bad_field": b"\x00" + b"1,abc\n",
        "ragged": b"\x00" + b"1,2\n3\n",
        "empty": b"\x00",
        "long_field": b"\x00" + b"1," + b"0" * 3000 + b"1\n",
        "trailing_blanks": b"\x00" + b"1" + b" " * 3000 + b"\n",
    }


def matrix_text_seeds():
    return {
        "two_by_three": b"2 3 1 2 3 4 5 6 ",
        "cut": b"2 2 1 2",
        "huge_shape": b"100000 100000 1",
        "many_rows_no_columns": b"2147483647 0",
        "shape_out_of_range": b"99999999999 2 1 2",
        "negative_square": b"-5 -5",
        "negative": b"-1 5 1 2",
        "not_numbers": b"abc def",
        "non_finite_values": b"2 2 nan -inf 1e400 0x1p3",
        "empty": b"",
    }


def inflated_seeds():
    # Fill byte, run length (16 MiB units), flags (bit 0: bytes after the
    # gzip member), then the head of the record.
    three = dataset([0, 1, 2], 2, 1, [1, 2, 3, 4, 5, 6, 7, 8, 9])
    return {
        "wrong_tag": bytes([0, 255, 0]) +
        dataset([], 0, 0, [], tag=b"CDataset 0.2"),
        "negative_count": bytes([0xff, 64, 0]) + c_string(TAG) +
        i32(-1, 10, 1, 0),
        "header_then_run": bytes([0, 1, 0]) + dataset([], 1, 0, [],
                                                      count=0x7FFFFFFF),
        "three_items": bytes([0, 0, 0]) + three,
        "garbage_after": bytes([0, 0, 1]) + three,
    }


def dense_vector_seeds():
    return {
        "doubles": i32(2, 3) + f64(1, -2.5, 3),
        "ints": i32(0, 2) + i32(7, -7),
        "floats": i32(1, 2) + f32(0.1, 2),
        "unknown_tag": i32(7, 4),
        "negative_dim": i32(2, -1),
        "cut": i32(2, 3) + f64(1, 2)[:-3],
        "huge_dim": i32(2, 0x7FFFFFFF) + f64(1),
    }


def matrix_serialize_seeds():
    return {
        "floats": i32(1, 2, 2) + f32(1, 2, 3, 4),
        "doubles": i32(2, 1, 3) + f64(1, 2, 3),
        "ints": i32(0, 2, 1) + i32(5, -5),
        "empty_shape": i32(1, 0, 5),
        "unknown_code": i32(9, 1, 1) + f32(1),
        "cut": i32(1, 2, 2) + f32(1, 2, 3),
        "huge_shape": i32(1, 0x7FFFFFFF, 0x7FFFFFFF) + f32(1),
        "many_rows_no_columns": i32(1, 0x7FFFFFFF, 0),
        "negative_shape": i32(1, -2, -3) + f32(1),
    }


def kernel_seeds():
    record = f64(2) + i32(3) + f64(1)
    return {
        "polynomial": record,
        "cut": record[:10],
        "negative_degree": f64(0.5) + i32(-4) + f64(0),
        "nan_bandwidth": f64(float("nan")) + i32(1) + f64(1),
    }


def learn_rate_seeds():
    record = f64(1, 0, 0.5, 1) + i32(5, 5, 2)
    return {
        "read_form": record,
        "write_form": record[:40],
        "steps_min": f64(1, 0, 0, 0) + i32(0, -2**31, 2**31 - 1),
        "steps_one": f64(1, 0, 0, 0) + i32(1, 1, 0),
    }


# The first byte of a factory seed picks the element type (0 int, 1 float,
# 2 double); the rest is the class name.
def factory_name_seeds():
    return {
        "dense_float": b"\x01CDenseVector",
        "sparse_double": b"\x02CSparseVector",
        "unknown_type": b"\x00CDenseVector",
        "missing_plugin": b"\x01CNoSuchClass",
        "path": b"\x01../lib/vecml/CDenseVector",
        "embedded_zero": b"\x01CDenseVector\x00../x",
        "leading_digit": b"\x019CDenseVector",
        "longest": b"\x01" + b"A" * 245,
        "too_long": b"\x01" + b"A" * 246,
        "empty": b"\x01",
    }


def main():
    root = sys.argv[1] if len(sys.argv) > 1 else os.path.join(
        os.path.dirname(os.path.abspath(__file__)), "corpus")
    records = dataset_seeds()
    corpora = {
        "dataset_record": records,
        "dataset_record_checked": records,
        "dataset_gzip_file": gzip_file_seeds(),
        "dataset_gzip_inflated": inflated_seeds(),
        "gzstream_read": gzstream_seeds(),
        "mat_import_matrix": mat_seeds(),
        "mat_import_vector": mat_seeds(),
        "mat_standard_import_matrix": standard_mat_seeds(),
        "mat_standard_import_vector": standard_mat_seeds(),
        "csv_read": csv_seeds(),
        "matrix_load": matrix_text_seeds(),
        "dense_vector_serialize": dense_vector_seeds(),
        "matrix_serialize": matrix_serialize_seeds(),
        "kernel_serialize": kernel_seeds(),
        "learn_rate_serialize": learn_rate_seeds(),
        "object_factory_name": factory_name_seeds(),
    }
    for harness, seeds in corpora.items():
        directory = os.path.join(root, harness)
        os.makedirs(directory, exist_ok=True)
        for name, data in seeds.items():
            with open(os.path.join(directory, name), "wb") as out:
                out.write(data)


if __name__ == "__main__":
    main()
