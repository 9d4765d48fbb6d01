<CsoundSynthesizer>
; SPDX-License-Identifier: GPL-3.0-or-later
; Plays Zelvane from Csound: a scale of quarter tones, note by note, then a stream that Zelvane times and asks for in chunks.
;
;     csound microtones.csd
;
; Csound makes no sound of its own here and needs no sound card.
<CsOptions>
-odac -+rtaudio=null -d -m0
</CsOptions>
<CsInstruments>
sr = 48000
ksmps = 48      ; a millisecond
nchnls = 1
0dbfs = 1

giPort = 3000                   ; the player's `port`
giEar OSCinit 3010              ; its `outPort`: where it asks for more
gkChunksLeft init 4

; Midic (hundredths of a semitone), velocity, length in ms, channel.
instr Note
  OSCsend 1, "127.0.0.1", giPort, "/om/note", "iiii", p4, 100, 250, 1
  turnoff
endin

; The whole scale, from score time 0 on.
instr Scale
  iMidic = 6000
  while iMidic <= 7200 do
    event_i "i", "Note", (iMidic - 6000) / 200, 0.1, iMidic
    iMidic += 50
  od
endin

; One message a millisecond: 16 notes, then the start.
instr Chunk
  kNumber init 0
  kNumber += 1
  if kNumber <= 16 then
    kSince = random:k(0, 1) < 0.33 ? 250 : 125
    kPitch = 60 + 24 * int(random:k(0, 32)) / 31
    kVelocity = int(random:k(60, 110))
    ; Since the note before in ms, pitch in semitones, velocity, length in ms, channel.
    OSCsend kNumber, "127.0.0.1", giPort, "/vesk.µq/fifos", "ffiii", kSince, kPitch, kVelocity, 200, 1
  elseif kNumber == 17 then
    OSCsend kNumber, "127.0.0.1", giPort, "/vesk.µq/start", ""
    gkChunksLeft -= 1
    printks "chunks left: %d\n", 0, gkChunksLeft
  else
    turnoff
  endif
endin

instr Stream
  OSCsend 1, "127.0.0.1", giPort, "/vesk.µq/reset", ""
  kFirst init 1
  if kFirst == 1 then
    event "i", "Chunk", 0.01, 1
    kFirst = 0
  endif
  kAsked OSClisten giEar, "/vesk.mq/more", ""
  if kAsked == 1 then
    if gkChunksLeft > 0 then
      event "i", "Chunk", 0, 1
    else
      event "e", 0, 1.5       ; five notes are left: let them sound
    endif
  endif
endin
</CsInstruments>
<CsScore>
i "Scale" 0 0.1
i "Stream" 6.75 60
e
</CsScore>
</CsoundSynthesizer>
