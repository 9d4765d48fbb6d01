#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Plays Zelvane: first a scale of quarter tones, note by note, then a stream that Zelvane times and asks for in chunks.

    microtones.py [PORT [OUTPORT]]      the player's `port` and `outPort`; 3000 and 3010 unless told
"""
import random
import socket
import struct
import sys
import time

HOST = "127.0.0.1"


def osc_string(text):
    data = text.encode() + b"\0"
    return data + bytes(-len(data) % 4)


def osc_message(address, *arguments):
    tags = "".join("f" if isinstance(argument, float) else "i" for argument in arguments)
    values = b"".join(struct.pack(">" + tag, argument) for tag, argument in zip(tags, arguments))
    return osc_string(address) + osc_string("," + tags) + values


class Player:
    def __init__(self, port, out_port):
        self.address = (HOST, port)
        self.socket = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.socket.bind((HOST, out_port))  # where the player asks for more

    def send(self, address, *arguments):
        self.socket.sendto(osc_message(address, *arguments), self.address)

    def wait_until_asked_for_more(self, seconds):
        self.socket.settimeout(seconds)
        while not self.socket.recv(65536).startswith(osc_string("/vesk.mq/more")):
            pass


def play_scale(player):
    # Midic (hundredths of a semitone), velocity, length in ms, channel.
    for midic in range(6000, 7201, 50):
        player.send("/om/note", midic, 100, 250, 1)
        time.sleep(0.25)
    time.sleep(0.5)


def chunk_of_stream(notes=16):
    # Since the note before in ms, pitch in semitones, velocity, length in ms, channel.
    for _ in range(notes):
        since = random.choice([125.0, 125.0, 250.0])
        yield since, 60 + 24 * random.randrange(32) / 31, random.randrange(60, 110), 200, 1


def play_stream(player, chunks=4):
    player.send("/vesk.µq/reset")
    for chunk in range(chunks):
        if chunk > 0:
            player.wait_until_asked_for_more(seconds=10)
        for note in chunk_of_stream():
            player.send("/vesk.µq/fifos", *note)
        player.send("/vesk.µq/start")
        print(f"chunk {chunk + 1} of {chunks}")
    player.wait_until_asked_for_more(seconds=10)  # five notes are left: let them sound
    time.sleep(1.5)


def main():
    ports = [int(argument) for argument in sys.argv[1:3]]
    player = Player(*(ports + [3000, 3010][len(ports):]))
    play_scale(player)
    play_stream(player)


if __name__ == "__main__":
    try:
        main()
    except TimeoutError:
        sys.exit("The player did not ask for more. Is it listening, and has it the same `outPort`?")
    except KeyboardInterrupt:
        pass
