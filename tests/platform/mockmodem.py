#!/usr/bin/python3
# SPDX-License-Identifier: LGPL-2.1-or-later
"""A modem service on the system bus: oFono or ModemManager in the state that the argument names.

The objects are there before the service's name is, so whoever sees the name sees all of it.
"""
import ctypes
import sys

import dbus
import dbus.mainloop.glib
import dbus.service
from dbusmock import mockobject

OFONO = "org.ofono"
OFONO_MODEM = "org.ofono.Modem"
OFONO_SIM = "org.ofono.SimManager"

MM = "org.freedesktop.ModemManager1"
MM_PATH = "/org/freedesktop/ModemManager1"
MM_MODEM = MM + ".Modem"
MM_3GPP = MM_MODEM + ".Modem3gpp"
MM_SIM = MM + ".Sim"

HANG = "import time; time.sleep(60)"

UNLOCK_NONE = dbus.UInt32(1)
UNLOCK_SIM_PIN = dbus.UInt32(2)
UNLOCK_SIM_PIN2 = dbus.UInt32(3)
UNLOCK_SIM_PUK = dbus.UInt32(4)


def main_object(bus, path, interface, **options):
    # Any name will do: the objects belong to the connection.
    name = dbus.service.BusName("org.example.mockmodem", bus)
    main = mockobject.DBusMockObject(name, path, interface, {}, **options)
    mockobject.objects[path] = main
    return main


def ofono(bus, modems):
    """Each modem: a dictionary of SIM properties, None for one without power."""
    main = main_object(bus, "/", "org.ofono.Manager")
    main.AddTemplate("ofono", dbus.Dictionary({"no_modem": True}, signature="sv"))
    for number, sim in enumerate(modems):
        path = main.AddModem(f"modem{number}", dbus.Dictionary({}, signature="sv"))
        properties = mockobject.objects[path].props
        properties[OFONO_MODEM].update(
            Manufacturer="Maker", Model=f"Modem {number}", Serial=f"35693803564380{number}")
        if sim is None:
            properties[OFONO_MODEM]["Interfaces"] = dbus.Array([], signature="s")
        else:
            properties[OFONO_SIM].update(sim)
    return main


def modem_manager(bus, modems, list_sims=False, folder="/SIM"):
    """Each modem: its lock and a dictionary of SIM properties, None for one without a SIM."""
    main = main_object(bus, MM_PATH, MM, is_object_manager=True)
    for number, (lock, sim) in enumerate(modems):
        # Objects below the main one are listed by it; a real SIM is not.
        sim_path = f"{MM_PATH}/SIM/{number}" if list_sims else f"{folder}/{number}"
        main.AddObject(f"{MM_PATH}/Modem/{number}", MM_MODEM, {
            "Manufacturer": "Maker",
            "Model": f"Modem {number}",
            "EquipmentIdentifier": "not an IMEI",
            "UnlockRequired": lock,
            "Sim": dbus.ObjectPath("/" if sim is None else sim_path),
        }, [])
        mockobject.objects[f"{MM_PATH}/Modem/{number}"].AddProperties(
            MM_3GPP, dbus.Dictionary({"Imei": f"35693803564380{number}"}, signature="sv"))
        if sim is not None:
            main.AddObject(sim_path, MM_SIM, sim, [])
    return main


def sim_of_ofono(**changes):
    return dict({"Present": True, "PinRequired": "none", "SubscriberIdentity": "244051234567890",
                 "MobileCountryCode": "244", "MobileNetworkCode": "05"}, **changes)


OTHER_SIM_OF_OFONO = sim_of_ofono(SubscriberIdentity="310150123456789", MobileCountryCode="310",
                                  MobileNetworkCode="150")
LOCKED_SIM_OF_OFONO = sim_of_ofono(PinRequired="pin", SubscriberIdentity="", MobileCountryCode="",
                                   MobileNetworkCode="")
SIM_OF_MM = {"Imsi": "244051234567890", "OperatorIdentifier": "24405"}
OTHER_SIM_OF_MM = {"Imsi": "310150123456789", "OperatorIdentifier": "310150"}
LOCKED_SIM_OF_MM = {"Imsi": "", "OperatorIdentifier": ""}


def scenario(name, bus):
    """Builds the objects; returns the name to own."""
    ofono_modems = {
        "ofono-no-modem": [],
        "ofono-no-power": [None],
        "ofono-no-sim": [sim_of_ofono(Present=False)],
        "ofono-sim": [sim_of_ofono()],
        "ofono-second-pin": [sim_of_ofono(PinRequired="pin2")],
        "ofono-second-puk": [sim_of_ofono(PinRequired="puk2")],
        "ofono-locked": [LOCKED_SIM_OF_OFONO],
        "ofono-puk": [sim_of_ofono(PinRequired="puk")],
        "ofono-two": [sim_of_ofono(), OTHER_SIM_OF_OFONO],
        "ofono-two-one-empty": [sim_of_ofono(Present=False), OTHER_SIM_OF_OFONO],
        "ofono-two-one-locked": [LOCKED_SIM_OF_OFONO, OTHER_SIM_OF_OFONO],
        "ofono-two-locked": [LOCKED_SIM_OF_OFONO, LOCKED_SIM_OF_OFONO],
        "ofono-bluetooth": [OTHER_SIM_OF_OFONO, sim_of_ofono()],
        "ofono-sim-access": [OTHER_SIM_OF_OFONO, sim_of_ofono()],
        "ofono-odd-types": [sim_of_ofono(SubscriberIdentity=dbus.UInt32(5),
                                         MobileCountryCode=dbus.Array(["244"], signature="s"))],
        "ofono-odd-reply": [],
        "ofono-error": [],
        "ofono-hang": [],
        "ofono-sim-hang": [sim_of_ofono()],
        "ofono-sim-nothing": [sim_of_ofono()],
    }
    mm_modems = {
        "mm-no-modem": [],
        "mm-no-sim": [(UNLOCK_NONE, None)],
        "mm-sim": [(UNLOCK_NONE, SIM_OF_MM)],
        "mm-sim-listed": [(UNLOCK_NONE, SIM_OF_MM)],
        "mm-sim-at-the-root": [(UNLOCK_NONE, SIM_OF_MM)],
        "mm-second-pin": [(UNLOCK_SIM_PIN2, SIM_OF_MM)],
        "mm-locked": [(UNLOCK_SIM_PIN, LOCKED_SIM_OF_MM)],
        "mm-puk": [(UNLOCK_SIM_PUK, SIM_OF_MM)],
        "mm-two": [(UNLOCK_NONE, SIM_OF_MM), (UNLOCK_NONE, OTHER_SIM_OF_MM)],
        "mm-odd-types": [(UNLOCK_NONE, {"Imsi": dbus.UInt32(5), "OperatorIdentifier": "244"})],
        "mm-hang": [],
        "mm-sim-hang": [(UNLOCK_NONE, SIM_OF_MM)],
    }
    if name in ofono_modems:
        main = ofono(bus, ofono_modems[name])
        if name == "ofono-bluetooth":
            mockobject.objects["/modem0"].props[OFONO_MODEM]["Type"] = "hfp"
        elif name == "ofono-sim-access":
            mockobject.objects["/modem0"].props[OFONO_MODEM]["Type"] = "sap"
        elif name == "ofono-odd-reply":
            main.AddMethod("org.ofono.Manager", "GetModems", "", "s", "ret = 'none'")
        elif name == "ofono-error":
            main.AddMethod("org.ofono.Manager", "GetModems", "", "a(oa{sv})",
                           "raise dbus.exceptions.DBusException('x', name='org.ofono.Error.Failed')")
        elif name == "ofono-hang":
            main.AddMethod("org.ofono.Manager", "GetModems", "", "a(oa{sv})", HANG)
        elif name == "ofono-sim-hang":
            mockobject.objects["/modem0"].AddMethod(OFONO_SIM, "GetProperties", "", "a{sv}", HANG)
        elif name == "ofono-sim-nothing":
            mockobject.objects["/modem0"].AddMethod(OFONO_SIM, "GetProperties", "", "", "")
        return OFONO
    main = modem_manager(bus, mm_modems[name], list_sims=name == "mm-sim-listed",
                         folder="" if name == "mm-sim-at-the-root" else "/SIM")
    if name == "mm-hang":
        main.AddMethod("org.freedesktop.DBus.ObjectManager", "GetManagedObjects", "",
                       "a{oa{sa{sv}}}", HANG)
    elif name == "mm-sim-hang":
        mockobject.objects["/SIM/0"].GetAll = None
        mockobject.objects["/SIM/0"].AddMethod(dbus.PROPERTIES_IFACE, "GetAll", "s", "a{sv}", HANG)
    return MM


def main():
    dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
    bus = dbus.SystemBus()
    owned = dbus.service.BusName(scenario(sys.argv[1], bus), bus, do_not_queue=True)
    glib = ctypes.cdll.LoadLibrary("libglib-2.0.so.0")
    while owned:
        glib.g_main_context_iteration(None, True)


main()
