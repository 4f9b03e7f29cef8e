# SPDX-License-Identifier: Apache-2.0
"""Stands in for the module unreal of the editor's Python. It has what the script of a LensFile
uses, with the names, arguments and types of the documentation of Unreal Engine 5, and nothing else:
any other name, keyword, type or count raises. CALLS is what was called, in order.

The documentation that it follows is that of the classes LensFile, LensInfo, FocalLengthInfo,
ImageCenterInfo, DistortionInfo, NodalPointOffset, SphericalLensModel, LensFileFactoryNew,
SphericalDistortionParameters, AssetTools, AssetToolsHelpers, EditorAssetLibrary and StructBase in
the Python API reference of versions 5.0 to 5.7.
"""
import copy

CALLS = []
ASSETS = {}


def _number(value):
    if isinstance(value, bool) or not isinstance(value, (int, float)):
        raise TypeError(f"{value!r} is no float")
    return float(value)


def _whole(value):
    if isinstance(value, bool) or not isinstance(value, int):
        raise TypeError(f"{value!r} is no int")
    return value


def _text(value):
    if not isinstance(value, str):
        raise TypeError(f"{value!r} is no str")
    return value


def _numbers(value):
    if not isinstance(value, list):
        raise TypeError(f"{value!r} is no Array[float]")
    return [_number(element) for element in value]


def _instance(kind):
    def check(value):
        if not isinstance(value, kind):
            raise TypeError(f"{value!r} is no {kind.__name__}")
        return copy.deepcopy(value)
    return check


def _subclass(kind):
    def check(value):
        if not (isinstance(value, type) and issubclass(value, kind)):
            raise TypeError(f"{value!r} is no class of {kind.__name__}")
        return value
    return check


class _WithProperties:
    """Editor properties by name; _PROPERTIES has the check and the default of each."""
    _PROPERTIES = {}

    def __init__(self):
        object.__setattr__(self, "_values", {
            name: copy.deepcopy(default) for name, (_, default) in self._PROPERTIES.items()})

    def _check(self, name):
        if name not in self._PROPERTIES:
            raise AttributeError(f"{type(self).__name__} has no property '{name}'")
        return self._PROPERTIES[name][0]

    def get_editor_property(self, name):
        # A copy, as the editor gives: what is changed in it is not changed here.
        self._check(name)
        return copy.deepcopy(self._values[name])

    def set_editor_property(self, name, value):
        self._values[name] = self._check(name)(value)

    def __setattr__(self, name, value):
        raise AttributeError(f"{type(self).__name__}: '{name}' is set by set_editor_property here")


class StructBase(_WithProperties):
    def __init__(self, *args, **kwargs):
        super().__init__()
        names = list(self._PROPERTIES)
        if len(args) > len(names):
            raise TypeError(f"{type(self).__name__} takes {len(names)} values, not {len(args)}")
        for name, value in list(zip(names, args)) + list(kwargs.items()):
            self.set_editor_property(name, value)


class Vector2D(StructBase):
    _PROPERTIES = {"x": (_number, 0.0), "y": (_number, 0.0)}


class Vector(StructBase):
    _PROPERTIES = {"x": (_number, 0.0), "y": (_number, 0.0), "z": (_number, 0.0)}


class Quat(StructBase):
    _PROPERTIES = {"x": (_number, 0.0), "y": (_number, 0.0), "z": (_number, 0.0),
                   "w": (_number, 0.0)}


class IntPoint(StructBase):
    _PROPERTIES = {"x": (_whole, 0), "y": (_whole, 0)}


class Object(_WithProperties):
    pass


class LensModel(Object):
    pass


class SphericalLensModel(LensModel):
    pass


class Factory(Object):
    pass


class LensFileFactoryNew(Factory):
    pass


class FocalLengthInfo(StructBase):
    _PROPERTIES = {"fx_fy": (_instance(Vector2D), Vector2D(1.0, 1.777778))}


class ImageCenterInfo(StructBase):
    _PROPERTIES = {"principal_point": (_instance(Vector2D), Vector2D(0.5, 0.5))}


class DistortionInfo(StructBase):
    _PROPERTIES = {"parameters": (_numbers, [])}


class NodalPointOffset(StructBase):
    _PROPERTIES = {"location_offset": (_instance(Vector), Vector()),
                   "rotation_offset": (_instance(Quat), Quat(0.0, 0.0, 0.0, 1.0))}


class LensInfo(StructBase):
    _PROPERTIES = {"lens_model_name": (_text, ""),
                   "lens_serial_number": (_text, ""),
                   "lens_model": (_subclass(LensModel), None),
                   "sensor_dimensions": (_instance(Vector2D), Vector2D(23.76, 13.365)),
                   "image_dimensions": (_instance(IntPoint), IntPoint(1920, 1080))}


# k1, k2, k3, p1 and p2.
_SPHERICAL_PARAMETERS = 5


class LensFile(Object):
    _PROPERTIES = {"lens_info": (_instance(LensInfo), LensInfo()),
                   "user_metadata": (_instance(dict), {})}

    def add_focal_length_point(self, new_focus, new_zoom, new_focal_length):
        CALLS.append(("add_focal_length_point", _number(new_focus), _number(new_zoom),
                      _instance(FocalLengthInfo)(new_focal_length)))

    def add_image_center_point(self, new_focus, new_zoom, new_point):
        CALLS.append(("add_image_center_point", _number(new_focus), _number(new_zoom),
                      _instance(ImageCenterInfo)(new_point)))

    def add_distortion_point(self, new_focus, new_zoom, new_point, new_focal_length):
        point = _instance(DistortionInfo)(new_point)
        if self.get_editor_property("lens_info").get_editor_property("lens_model") \
                is not SphericalLensModel:
            raise RuntimeError("the lens model isn't set before its parameters")
        if len(point.get_editor_property("parameters")) != _SPHERICAL_PARAMETERS:
            raise ValueError("the spherical model has five parameters")
        CALLS.append(("add_distortion_point", _number(new_focus), _number(new_zoom), point,
                      _instance(FocalLengthInfo)(new_focal_length)))

    def add_nodal_offset_point(self, new_focus, new_zoom, new_point):
        CALLS.append(("add_nodal_offset_point", _number(new_focus), _number(new_zoom),
                      _instance(NodalPointOffset)(new_point)))


def _asset_path(path):
    if not _text(path).startswith("/Game/") or path.endswith("/"):
        raise ValueError(f"'{path}' is no path of an asset")
    return path


class AssetTools(Object):
    def create_asset(self, asset_name, package_path, asset_class, factory,
                     calling_context="None"):
        if "/" in _text(asset_name) or not asset_name:
            raise ValueError(f"'{asset_name}' is no name of an asset")
        if asset_class is not LensFile or not isinstance(factory, LensFileFactoryNew):
            raise TypeError("the factory makes a LensFile")
        path = _asset_path(f"{package_path}/{asset_name}")
        CALLS.append(("create_asset", path))
        if path in ASSETS:
            return None
        ASSETS[path] = LensFile()
        return ASSETS[path]


class AssetToolsHelpers(Object):
    @classmethod
    def get_asset_tools(cls):
        return AssetTools()


class EditorAssetLibrary(Object):
    @classmethod
    def does_asset_exist(cls, asset_path):
        return _asset_path(asset_path) in ASSETS

    @classmethod
    def load_asset(cls, asset_path):
        CALLS.append(("load_asset", _asset_path(asset_path)))
        return ASSETS.get(asset_path)

    @classmethod
    def save_loaded_asset(cls, asset_to_save, only_if_is_dirty=True):
        CALLS.append(("save_loaded_asset", _instance(LensFile)(asset_to_save)))
        return True
