# SPDX-License-Identifier: Apache-2.0
"""rigsync_result.py gives the library's numbers, to the last bit or to the step that it states."""
import math
import struct
import unittest
import unittest.mock

import library_bits
import poses
import rigsync_result

COUNT = 10000

# Without the C library's functions. One single-precision step of the angle in radians is up to two
# in degrees: the factor moves it from the lower half of one power of two, where steps are large
# beside the number, into the upper half of another.
INEXACT = {("ue4", "rotation_deg", 1), ("ue4", "rotation_deg", 2),
           ("aximmetry", "rotation_deg", 0), ("aximmetry", "rotation_deg", 1),
           ("aximmetry", "rotation_deg", 2)}
MOST_STEPS = 2


def bits(number):
    return struct.pack("<d", number)


def steps(left, right):
    """How many single-precision numbers the two are apart; both are such numbers."""
    def index(number):
        whole, = struct.unpack("<i", struct.pack("<f", number))
        return whole if whole >= 0 else -2**31 - whole
    if struct.unpack("<f", struct.pack("<f", left))[0] != left:
        return math.inf
    return abs(index(left) - index(right))


class RigsyncResult(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.transforms = poses.mounts(COUNT)
        cls.norm_fxy, cls.norm_cxy = library_bits.lenses(COUNT)
        cls.rows = library_bits.library_bits(cls.transforms, cls.norm_fxy, cls.norm_cxy)

    def exported(self, i, engine):
        """The fields as a dict of lists; None for a gimbal lock."""
        try:
            fields = rigsync_result.export_transform(engine, self.transforms[i].tolist(),
                                                     self.norm_fxy[i], self.norm_cxy[i])
        except rigsync_result.GimbalLock:
            return None
        return {name: list(group) for name, group in zip(fields._fields, fields)}

    def test_the_hard_places_are_among_the_mounts(self):
        codes = [row.code for row in self.rows]
        self.assertGreater(codes.count(3), 500)
        self.assertGreater(codes.count(0), 5000)
        angles = [row.fields["aximmetry"]["rotation_deg"] for row in self.rows]
        self.assertGreater(sum(abs(angle[0]) == 90.0 for angle in angles), 500)
        self.assertGreater(sum(abs(angle[2]) >= 180.0 for angle in angles), 50)
        numbers = [number for row in self.rows for number in row.fields["ue5"]["quaternion"]]
        self.assertGreater(sum(number == 0.0 and math.copysign(1, number) < 0
                               for number in numbers), 10)

    def test_a_gimbal_lock_is_one_where_the_library_returns_3(self):
        for i, row in enumerate(self.rows):
            self.assertEqual(self.exported(i, "ue4") is None, row.code == 3, self.transforms[i])

    def differences(self):
        """How many numbers were compared, and engine, group, place, ours and theirs of each that
        differs."""
        compared, found = 0, []
        for i, row in enumerate(self.rows):
            for engine, groups in row.fields.items():
                fields = self.exported(i, engine)
                if fields is None:
                    continue
                self.assertEqual(list(fields), list(groups))
                for group, expected in groups.items():
                    self.assertEqual(len(fields[group]), len(expected))
                    compared += len(expected)
                    found += [(engine, group, k, ours, theirs)
                              for k, (ours, theirs) in enumerate(zip(fields[group], expected))
                              if bits(ours) != bits(theirs)]
        self.assertGreater(compared, 28 * COUNT * 0.9)
        return compared, found

    def test_all_fields_are_the_librarys_to_the_last_bit(self):
        self.assertTrue(rigsync_result.EXACT_ANGLES)
        compared, found = self.differences()
        print(f"{compared} fields of {COUNT} mounts, {len(found)} differ")
        self.assertEqual(found, [])

    def test_without_the_c_library_only_angles_differ_and_by_the_stated_steps(self):
        with unittest.mock.patch.multiple(rigsync_result, _ASINF=None, _ATAN2F=None):
            compared, found = self.differences()
        apart = [steps(ours, theirs) for _, _, _, ours, theirs in found]
        print(f"without the C library: {compared} fields, {len(found)} differ, by {max(apart)} "
              f"single-precision steps at most, {apart.count(1)} of them by 1")
        self.assertLessEqual({place[:3] for place in found}, INEXACT)
        self.assertLessEqual(max(apart), MOST_STEPS)


if __name__ == "__main__":
    unittest.main()
